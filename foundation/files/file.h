// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FILE_H
#define ZORVEX_FOUNDATION_FILES_FILE_H

#include <cstddef>

#include <zorvex/foundation/export.h>

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

#endif  // ZORVEX_FOUNDATION_FILES_FILE_H
