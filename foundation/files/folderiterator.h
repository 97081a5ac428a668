// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FOLDERITERATOR_H
#define ZORVEX_FOUNDATION_FILES_FOLDERITERATOR_H

#include <dirent.h>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/files/file.h>

/// Goes through the entries of one folder, in the order of the file system, whose names match a
/// pattern of LFile::IsMatch in any case:
///
///     LFile::FolderIterator files;
///     for (bool isAt = files.Open(folder, "*.mov"); isAt; isAt = files.Next()) {
///       if (!files.IsFolder() && files.GetFilePath(path)) Add(path);
///     }
///
/// Entries may be deleted, renamed and created meanwhile; one that was there all the time comes
/// once. An open one holds a descriptor and the C library's memory for reading the folder. For one
/// thread at a time.
///
/// The order of the fields and of the virtual functions is part of the interface.
class ZORVEX_API LFile::FolderIterator {
 public:
  FolderIterator() = default;
  FolderIterator(const FolderIterator&) = delete;
  FolderIterator& operator=(const FolderIterator&) = delete;
  virtual ~FolderIterator();

  /// Whether an entry is one to stop at. Here: no name that begins with `.` or with "__MACOSX", and
  /// of the others those that match the pattern, where "A" to "Z" and "a" to "z" are the same, and
  /// no others whatever the locale.
  virtual bool _Matches(const char* name) const;

  /// Goes to the first matching entry of a folder; a link to one counts as well. False, and the
  /// iterator is closed, when there is no such entry or the folder cannot be read. Folder and
  /// pattern are kept, each cut at 259 characters.
  bool Open(const char* folder, const char* pattern);

  /// The same for all of a folder ("*"), or for one regular file: for a file the pattern is its own
  /// name, in its folder as _GetFolderFromPath gives it. The rules of _Matches hold on purpose as
  /// they are: a hidden file is not found, "A.TXT" is found as well where "a.txt" is named, and a
  /// name with `*` or `?` in it stands for all names that match it. A file's path of more than 259
  /// characters, or with `\` in the name, is not found.
  bool Open(const char* path);

  /// Goes to the next matching entry. False, and the iterator is closed, when there is none, the
  /// folder cannot be read on, or the iterator is not open.
  bool Next();

  /// Closes the folder; it is at no entry then.
  void Close();

  /// The name of the entry it is at; empty when it is at none. Valid until the next call of Open,
  /// Next or Close.
  [[nodiscard]] const char* GetFileName() const { return entry_.d_name; }

  /// The entry's path: the folder as it was given, `/` and the name, into a path buffer. False,
  /// with an empty one, when it is at no entry or the path has more than 259 characters; it is not
  /// cut, for that would be the path of something else.
  bool GetFilePath(char* dest) const;

  /// Whether the entry is a folder. A link to one is none, so that who goes on into folders stays
  /// in the tree.
  [[nodiscard]] bool IsFolder() const;

  /// The open folder's descriptor, for openat and its like; -1 when it is closed. Stays owned here.
  [[nodiscard]] int FolderDescriptor() const;

  /// As they were given to Open, cut at 259 characters; kept when the iterator is closed.
  [[nodiscard]] const char* GetFolder() const { return folder_; }
  [[nodiscard]] const char* GetPattern() const { return pattern_; }

 private:
  bool OpenStream(const char* path, const char* folder, const char* pattern);

  DIR* stream_ = nullptr;  ///< null when closed
  dirent entry_ = {};      ///< its name is empty when the iterator is at no entry
  char folder_[260] = {};
  char pattern_[260] = {};
};

/// Goes through all entries of a folder, "." and ".." too: users skip those two. The pattern says
/// nothing, so that of a file's path it goes through the file's whole folder.
class ZORVEX_API LFile::FolderIteratorAllFiles : public LFile::FolderIterator {
 public:
  FolderIteratorAllFiles() = default;
  ~FolderIteratorAllFiles() override;
  bool _Matches(const char* name) const override;
};

#endif  // ZORVEX_FOUNDATION_FILES_FOLDERITERATOR_H
