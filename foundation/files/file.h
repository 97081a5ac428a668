// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FILE_H
#define ZORVEX_FOUNDATION_FILES_FILE_H

#include <cstddef>

#include <zorvex/foundation/export.h>

class LProcessInterface;

/// Files and folders, by path.
///
/// A path buffer is an array of 260 bytes of the caller's: 259 and the terminator. Every `dest` and
/// every `message` is one, and what is longer is cut, by bytes. Both `/` and `\` separate; `/` is
/// what is written. Paths are bytes, UTF-8 by convention, of any length and any content. No pointer
/// may be null unless it says so. A `dest` may be one of the sources only where that is said.
///
/// Functions of text never fail and do not look at the file system. Nothing here allocates, unless
/// it says so. All may be called from any thread.
class ZORVEX_API LFile {
 public:
  LFile() = delete;

  // Splitting. `dest` may be `path`.

  /// The folder of a path: its first 259 characters up to their last separator, which is dropped.
  /// Without one behind the first character it is "/" when the path starts with `/`, else empty.
  /// "/a/b" gives "/a", "a/b" gives "a", "/a" gives "/", but "\a" gives "".
  static void _GetFolderFromPath(char* dest, const char* path);

  /// The outermost folder: the text in front of the first separator behind the second character, or
  /// all of it. Of two characters alone, a separator at the end is dropped. "/Volumes/Disk/x" gives
  /// "/Volumes", "C:\x" gives "C:", "a/b/c" gives "a/b", "a/" gives "a".
  static void _GetBaseFolderFromPath(char* dest, const char* path);

  /// The text after the last separator, wherever in the path that is.
  static void _GetFileFromPath(char* dest, const char* path);

  /// What _GetFileFromPath gives, in front of its last period; a period that is its first character
  /// does not count. "/a/c.tar.gz" gives "c.tar", "/a/.profile" gives ".profile".
  static void _GetFileNameFromPath(char* dest, const char* path);

  /// The text after the last separator from its last period on; empty when it has none.
  /// "/a/c.tar.gz" gives ".gz", "/a.b/c" gives "", "/a/.profile" gives ".profile".
  static void _GetFileExtensionFromPath(char* dest, const char* path);

  /// A path with another extension, which brings its own point: the first 259 characters of the
  /// path, in front of the last period after their last separator where there is one, and then
  /// `ext`. A period counts as none only where the whole path starts with it: ".profile" and ".x"
  /// give
  /// ".profile.x", but "/a/.profile" gives "/a/.x".
  static void _ApplyNewFileExtension(char* dest, const char* path, const char* ext);

  // Composing. `dest` may be any of the other texts.

  /// Folder, separator, name and extension. Of the folder at most 258 characters are taken; `/` is
  /// added behind one that is not empty and does not end with a separator. An empty folder gives
  /// name and extension alone.
  static void _MakeFilePath(char* dest, const char* folder, const char* name, const char* ext);

  /// The same for parts that somebody else chose, stripped of what could lead elsewhere:
  ///
  /// - Of the folder, the text after its last period, and after the separator when one comes next.
  /// It
  ///   is deliberately crude: folders whose names contain a point are cut too.
  /// - Of the name, the text after its last separator.
  /// - Of the extension, the text from its last period on, or after its last separator when that
  /// one
  ///   stands behind the period.
  ///
  /// Each part is looked at in its first 258 characters; behind those it ends where something comes
  /// that would have been stripped. A file that would then be called ".." is left out, which leaves
  /// the folder. A folder without a point stays as it is, an absolute one absolute.
  static void _MakeFilePathSecure(char* dest, const char* folder, const char* name,
                                  const char* ext);

  /// The path and the extension, seen from a folder. A path is absolute already when it starts with
  /// a separator or when its first component contains `:`. Each leading "./" of another one is
  /// skipped, each leading "../" takes the last component of the folder away, in any order and as
  /// far as there are some; then they are joined as by _MakeFilePath. Only the head of the path is
  /// resolved: "." and ".." alone, and those further back, stay.
  static void MakeAbsoluteFilePath(char* dest, const char* baseFolder, const char* path,
                                   const char* ext);

  /// The first path of which no file exists: "report.txt", then "report_0.txt", "report_1.txt" and
  /// so on without a bound. Nothing is created: another program may take the path at any time. A
  /// name too long for that gives way to its number; where not even the number has room, the path
  /// that was tried last is given though it exists.
  static void MakeUniqueOrderedFilePath(char* dest, const char* folder, const char* name,
                                        const char* ext);

  /// The way from a folder to another one or to a file: "../" for each separator of the folder
  /// behind what both have in common, then the rest of `to`, without a separator in front. The
  /// folder counts as ending with a separator. On purpose what they have in common is counted by
  /// characters, not by components, and `to` is taken as it is: from "/a/b", "/a/b/c" gives "c",
  /// "/a/x" gives "../x", "/a/bc/d" gives "../c/d", and "/a/b" itself gives "../".
  static void MakeRelativeFolder(char* dest, const char* fromFolder, const char* to);

  /// The same as MakeRelativeFolder.
  static void MakeRelativeFilePath(char* dest, const char* fromFolder, const char* to);

  /// The rest of a path that is the folder `base` or is in it, without a separator in front. False,
  /// with `dest` empty, for other paths. Both separators are taken for one, and one at the end of
  /// `base` makes no difference: "/a\b/" and "/a/b/c" give "c". An empty base is the root folder.
  static bool GetRelativePathFromAbsolutePath(char* dest, const char* base, const char* path);

  /// A path for display, in `n` characters with the terminator. A path shorter than `n` is copied
  /// whole. Otherwise the result has n - 1 characters: the first half of what "..." leaves room
  /// for, which is the larger one, "...", and the second half from the end of the path. An `n`
  /// below 5 leaves n - 1 characters of "..."; one above 260 counts as 260. `dest` may be `path`.
  /// Cuts bytes: a character of several may be broken.
  static void CompactFilePath(char* dest, const char* path, std::size_t n);

  /// A path for a shell command, to stand in double quotes: a backslash is put in front of each
  /// back quote and each `"`, and of nothing else. Cut in front of such a pair, never inside.
  /// `dest` may be `path`.
  static void EscapeFilePath(const char* path, char* dest);

  /// Makes a valid name of a text: without the bytes below 32, without `:`, `\` and `/`, and
  /// without periods in front of the first byte that stays. False when nothing stays. `dest` may be
  /// `name`.
  static bool PreprocessName(const char* name, char* dest);

  // Validation. `message` may be null; else it gets the reason, or is made empty. The words of all
  // messages are fixed, the odd ones included.

  /// Whether LFileOrFolderNameValidate gives 0.
  static bool IsFileValid(const char* name, char* message);

  /// Whether a folder's whole path is shorter than 260 characters, begins with `/`, and has only
  /// components that LFileOrFolderNameValidate gives 0 for. One separator may end it.
  static bool IsFolderValid(const char* folder, char* message);

  // Standard folders. Where the platform's search gives none, as on Linux, they are those named
  // here, under the home folder, and they are created when they are missing. New folders are
  // readable, writable and searchable for all users as far as the process's umask lets them be;
  // "for all users" below means without that limit. Failures are not told: the path is given all
  // the same. Any thread, as long as none changes the environment meanwhile.

  /// The home folder: the environment's HOME, else the one of the user database, else "/". Where
  /// that database is asked, here or below, the C library allocates.
  static void GetUserFolder(char* dest);
  /// "Library/Application Support".
  static void GetUserDataFolder(char* dest);
  /// The same folder as GetUserDataFolder: deliberately one for each user on this platform.
  static void GetSharedDataFolder(char* dest);
  /// "LZorvex" in the data folder; created when missing.
  static void GetUserDataFolderApp(char* dest);
  /// A folder in GetUserDataFolderApp; created when missing. `dest` may be `sub`.
  static void GetUserDataFolderAppSubFolder(const char* sub, char* dest);
  /// "Shared" in GetUserDataFolderApp; created when missing.
  static void GetSharedDataFolderApp(char* dest);
  /// A folder in GetSharedDataFolderApp; created when missing, and then for all users. `dest` may
  /// be `sub`.
  static void GetSharedDataFolderAppSubFolder(const char* sub, char* dest);
  /// "Vantrel/LZorvex" in the shared data folder, which on purpose is another folder than
  /// GetSharedDataFolderApp; each of the two created when missing, and then for all users.
  static void GetSharedDataFolderAppNoWarn(char* dest);
  /// "Library/Caches".
  static void GetTempFolder(char* dest);
  /// The machine's programs: "/Applications". Never created.
  static void GetApplicationsFolder(char* dest);
  /// "Contents/Resources/help" in the folder of the program that runs. Never created.
  static void GetHelpFolder(char* dest);
  static void GetUserMusicFolder(char* dest);         ///< "Music"
  static void GetUserVideoFolder(char* dest);         ///< "Movies"
  static void GetUserPicturesFolder(char* dest);      ///< "Pictures"
  static void GetUserApplicationsFolder(char* dest);  ///< "Applications"
  static void GetUserDocumentsFolder(char* dest);     ///< "Documents"
  static void GetUserDesktopFolder(char* dest);       ///< "Desktop"
  static void GetUserDownloadFolder(char* dest);      ///< "Downloads"

  // Sizes and volumes

  /// Whole units, never rounded up, of the largest one that there is a whole of: "1023 Bytes",
  /// "1 KB", "1023 KB", then "MB", "GB" and "TB", each 1024 of the one before.
  static void GetSizeFormattedBytes(unsigned long long n, char* dest);

  /// How large files may be on the volume of a path, by the kind of its file system: 0 for FAT,
  /// FAT12 and FAT16, 1 for FAT32 and FAT16B, 2 for others and when that is not known.
  static int GetVolumeFileSizeLimit(const char* path);

  /// Where the volume of a path is mounted. For a path that does not exist: "/" when it starts with
  /// `/`; the letters and digits of ASCII that it starts with and `:\` when there are some, as of a
  /// drive; empty otherwise. `dest` may be `path`.
  static void GetHumanReadableDriveFromPath(char* dest, const char* path);

  // Existence and trees. Here paths are the system's: only `/` separates, and they are not cut.

  /// Whether there is a file, which may be anything but a folder; a link counts as what it leads
  /// to.
  static bool TestFileExists(const char* path);
  /// Whether there is a folder, or a link to one.
  static bool TestFolderExists(const char* path);

  /// Creates a folder, with the folders above it that are missing, for all users as far as the
  /// umask lets it. Separators at the end do not count. The result tells whether that folder was
  /// created by this call: false, on purpose, when it exists; callers who care test that first.
  /// False, and nothing is created, when the path is longer than 259 characters.
  static bool CreateFolderTree(const char* path);

  /// Gives all users all access (0777) to a file, or to a folder and everything in it. Links are
  /// left alone and never followed, the path's own last component included; it is safe where others
  /// may rename what is on the way. Goes on where something cannot be changed. False when something
  /// was not: it belongs to somebody else, is a link itself, or is more than 130 folders deep. A
  /// link with a `/` behind it is, as everywhere in the system, the folder that it leads to.
  ///
  /// Each folder keeps a descriptor, and the C library's memory for reading it, while it is gone
  /// through.
  static bool SetFolderSecurityAllAccess(const char* path);

  // Going through folders

  class FolderIterator;          ///< see folderiterator.h
  class FolderIteratorAllFiles;  ///< see there

  /// Whether a name matches a pattern as a whole: `?` stands for any one character, `*` for any
  /// number of them, none included, and every other character for itself. Characters are bytes;
  /// case counts. An empty pattern matches the empty name only. Any pattern is matched in at most
  /// its length times the name's steps. Exists for `char`.
  template <typename Character>
  static bool IsMatch(const Character* pattern, const Character* name);

  /// How many bytes the regular files of a folder hold, hidden ones too, and with
  /// `isWithSubFolders` those of all folders below it. What they take up on a disk may be more or
  /// less. Links are not followed and count nothing, except that the path may be a link to a
  /// folder; a file with several names counts once for each.
  ///
  /// The path of a regular file works too, as a pattern in its folder, as FolderIterator::Open
  /// takes it: the sum of the files whose names match the file's own in any case, hidden ones too.
  ///
  /// What cannot be read is left out, and 0 is the size of what does not exist. Each folder keeps a
  /// descriptor while it is gone through.
  static unsigned long long GetFolderSizeBytes(const char* path, bool isWithSubFolders);

  // Copying. With progress and a way to stop: see processcopy.h.

  /// Copies a regular file: content with its holes, times, extended attributes where both file
  /// systems have them, and permissions; the owner is who makes the copy, and permissions to act as
  /// the owner or the group (set-ID) stay with those alone. What `to` names, if it is no folder, is
  /// deleted first, a link itself and not what it leads to. Folders, pipes and devices are not
  /// copied.
  ///
  /// A link is copied as a link, by the command `cp -R` of the shell and by its rules: a `to` that
  /// is a folder gets the link inside. Paths that cannot be written for that as EscapeFilePath does
  /// it are refused: with `$` or `\` in them, with `-` in front, empty, and those which have more
  /// than 259 characters then.
  ///
  /// False when it is not done. Nothing is deleted then when the source cannot be read, or when
  /// both are the same file, also by two of its names or where the link to be copied leads to `to`;
  /// no half file is left in any case.
  static bool CopyFile(const char* from, const char* to);

  /// Copies the files of a folder, hidden ones and links too, and nothing of the folders in it,
  /// into another folder, which is created with those above it when it is missing. Files and links
  /// of the same names there are replaced, each as by `Process` for a folder in processcopy.h; what
  /// else is there stays. False when something could not be copied; it ends with that.
  static bool CopyFolderFiles(const char* from, const char* to);

  // Deleting. Paths are the system's: only `/` separates, and they are not cut. What is deleted is
  // gone for good. No link in a folder is ever followed, the link itself is deleted; who renames or
  // replaces things meanwhile cannot lead a deletion elsewhere. Trees may be of any depth, with a
  // bounded number of descriptors (three are needed) and little of the thread's stack. These
  // functions allocate; without memory they fail. Several threads and processes may delete the
  // same.
  //
  // Of a tree, nothing is entered where a volume, or part of one, is mounted: that is kept, and so
  // are the folders around it. Somebody who goes on creating files in a folder may keep it, too.

  /// Deletes a folder and everything in it, as far as permissions let it: what cannot be deleted
  /// stays, with the folders around it, and the rest goes. True when there was a folder and is none
  /// any more.
  ///
  /// A folder that cannot be opened is removed when it is empty. Where the path itself is a link to
  /// a folder, with or without a `/` behind it, the link is removed and what it leads to stays.
  ///
  /// False, and nothing is deleted, for the empty path, a file, the system's root folder, and paths
  /// that end with "." or "..".
  static bool DeleteFolderTree(const char* path);

  /// The same, tried again every 10 ms until the tree is gone or `timeoutMs` milliseconds are over
  /// (4294967295: no limit): another program may be about to close or to delete what is in it.
  /// Tried at least once; false at once where there is no folder.
  static bool DeleteFolderTree(const char* path, unsigned int timeoutMs);

  /// The same as the first, but files and folders go also when flags lock them, immutable or
  /// append-only, where the process may clear such flags. A folder that the tree is in keeps its
  /// own.
  static bool DeleteFolderTreeAlways(const char* path);

  /// DeleteFolderContents and then, when that gives 0, the folder itself, as far as it is empty by
  /// then. 0 when it was removed, 1 when a stop was requested, 2 otherwise: so when younger files
  /// stayed. The path may not end with "." or "..", and a link is no folder here.
  static int DeleteFolderTree(LProcessInterface& process, const char* path, long ageSeconds);

  /// Deletes what is in a folder and was not modified for `ageSeconds`: the files, locked ones (see
  /// DeleteFolderTreeAlways) as well, whose last modification is that old or older, and the folders
  /// that are empty then. With 0 every file, also one whose time is still to come. A link has a
  /// time of its own. On purpose it is the modification here and the creation in DeleteOldFiles.
  ///
  /// 0 when it went through all entries, whether or not they could be deleted; 1 when a stop was
  /// requested, which is asked for before each entry; 2 when there is no such folder or it cannot
  /// be opened. A link is no folder here, unless a `/` stands behind it. The system's root folder
  /// is none.
  ///
  /// Reports the status "Please wait..." on line 0 and, after each entry, the progress; each has an
  /// equal share of it. A folder in it reports in the same way as a part of that, as by an
  /// LProcessInterfaceSubProcess: its status is on the next line. The entries are those that were
  /// there when their folder was begun.
  static int DeleteFolderContents(LProcessInterface& process, const char* folder, long ageSeconds);

  /// Deletes the files of a folder, but not the folders in it, and then the folder. False when that
  /// is not removed, also because folders are in it: its files are gone then all the same. Paths as
  /// for DeleteFolderTree, but a link is no folder here.
  static bool DeleteFolderAndFiles(const char* path);

  /// Deletes the entries of a folder (or of one that a link leads to) that match a pattern, by the
  /// rules of FolderIterator, and were created more than `days` times 86400 seconds ago. A folder
  /// is removed only when it is empty. Nothing is deleted when `days` is below 1.
  ///
  /// On purpose the age is counted from the creation, whenever the file was modified. Where the
  /// file system does not keep that time, it is counted from the last change of any kind, which
  /// cannot be set back: files may stay longer then, but none goes too early. An entry of which
  /// nothing can be found out counts as created in 1970 and is deleted; so is a link that leads
  /// nowhere. Other links go by their own age.
  ///
  /// False when `days` is below 1, the folder cannot be read, or a file that is old enough could
  /// not be deleted.
  static bool DeleteOldFiles(const char* folder, const char* pattern, int days);

  // The desktop

  /// Whether there is nothing in the user's folders for deleted files: ".Trash" in the home folder,
  /// and the one of free desktops, "Trash/files" in the folder that XDG_DATA_HOME names or else in
  /// ".local/share" of the home folder. ".DS_Store" does not count, and a folder that is missing or
  /// cannot be read is empty. Those of other volumes are not looked at: one that does not answer
  /// would hold up the caller.
  ///
  /// Any thread, as long as none changes the environment meanwhile.
  static bool IsRecycleBinEmpty();

  /// Makes an image the desktop's background by a command of the shell, waiting for it:
  ///
  ///     sqlite3 ~/Library/Application\ Support/Dock/desktoppicture.db
  ///       "update data set value = '...'"
  ///     defaults write com.apple.desktop Background '{default = {ImageFilePath = "..."; };}'
  ///
  /// The first is for systems of version 10.9 and above, the second for those before; on Linux the
  /// kernel's release stands for the version. Which it is, is found out once in a process.
  ///
  /// True when the command succeeds. False, and nothing is run, when there is no such file, the
  /// command with the path, as EscapeFilePath makes it, is longer than 259 characters, or the path
  /// has a control character, `'`, `$` or `\`: those cannot be quoted in both places that they
  /// would stand in.
  static bool SetDesktopWallpaper(const char* imagePath);

  // Attributes that a file carries beside its content, where its file system has such

  /// Marks a file's text as UTF-8 for other programs: sets the extended attribute of users
  /// "com.apple.TextEncoding" to "utf-8;134217984". False when it is not set.
  static bool SetFileAttributeTextEncodingUTF8(const char* path);
  /// Removes the mark of a file that came from the net: the extended attribute of users
  /// "com.apple.quarantine". False when it is not removed, also because there is none.
  static bool RemoveFileAttributeQuarantine(const char* path);

  // Locks and errors

  /// Whether a file exists and its immutable flag is set, so that nobody may change or delete it.
  static bool TestFileLocked(const char* path);
  /// Whether somebody holds a lock on the file (flock) that keeps an exclusive one out. The file is
  /// locked and released for that; one that cannot be opened for another reason is not blocked.
  static bool TestFileShareReadBlocked(const char* path);
  /// Deliberately the same test as TestFileShareReadBlocked.
  static bool TestFileShareWriteBlocked(const char* path);

  // What the last failed system call of the calling thread left in errno.

  static bool IsErrorSharingViolation();  ///< EACCES or EWOULDBLOCK
  static bool IsErrorAlreadyExists();     ///< EEXIST
  static bool IsErrorPermissionDenied();  ///< EACCES
  static bool IsErrorFileNotFound();      ///< ENOENT
};

extern template ZORVEX_API bool LFile::IsMatch(const char* pattern, const char* name);

#endif  // ZORVEX_FOUNDATION_FILES_FILE_H
