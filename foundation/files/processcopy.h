// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_PROCESSCOPY_H
#define ZORVEX_FOUNDATION_FILES_PROCESSCOPY_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/processinterface.h>

/// \file
/// Copying that can be stopped and tells how far it is.

/// A request to copy one file. A path longer than 259 characters is not cut, which would make it
/// another file's, but left empty, and the request then fails.
struct ZORVEX_API LProcessCopyFile {
  LProcessCopyFile() = default;
  LProcessCopyFile(const char* from, const char* to);

  char source[260] = {};
  char destination[260] = {};
};

/// A request to copy a folder; paths as in LProcessCopyFile.
struct ZORVEX_API LProcessCopyFolder {
  LProcessCopyFolder() = default;
  LProcessCopyFolder(const char* from, const char* to);

  char source[260] = {};
  char destination[260] = {};
};

/// Copies the content and the times of a regular file. The destination, a regular file too, is
/// created, readable and writable for all users as far as the umask lets it, or replaced in place:
/// it keeps its permissions and its other names then. Links count as what they lead to.
///
/// Shows "Copy File" on line 0. The source is locked shared and the destination exclusively (flock,
/// about 1000 ms each), and the destination keeps what it held until it is locked. It goes by
/// 32768 bytes: before each such part it asks whether it is to stop, after each it reports the part
/// that is done. The size is that of the beginning: what comes to the source meanwhile is left out,
/// and a file that does not tell its size, as those of /proc, is an empty one.
///
/// 0 when it is done. 2 when it was stopped, or failed: then the destination, once it was locked,
/// is deleted; other failures, among them that both paths are the same file, leave it as it was.
ZORVEX_API int Process(LProcessInterface& process, const LProcessCopyFile& copy);

/// Copies a folder with all that is in it: the destination becomes like the source, not a folder
/// with it inside. It is created, with the folders above it, or completed: entries of the same name
/// are replaced, except folders by others or others by folders, which fails; other entries stay.
///
/// - Content, times, permissions and, where both file systems have them, extended attributes are
///   carried, owners are not. Permissions to act as the owner or the group (set-ID) stay with those
///   alone.
/// - Links are copied as links and never followed, except that the source and the destination
///   themselves may be links to folders. Several names of one file become several files, unless the
///   destination has one of them already, which fails; holes stay holes. Pipes with names are made
///   again; sockets and devices are left out.
/// - Names and contents are bytes, and the tree may be deeper than a path can name: as deep as the
///   process has descriptors, of which each level needs two.
/// - A destination in the source fails before anything is made.
///
/// Shows "Copy Folder" on line 0 and, by each file's own part of the operation, "Copy File" on
/// line 1. The bytes of all files are counted first, with indeterminate progress, and progress is
/// the part of them that is copied. It asks whether to stop before each entry and as the copy of
/// one file does, and locks files in the same way.
///
/// 0 when it is done; 2 when it was stopped or failed, the latter with a text for SetError that
/// names the entry. It ends with the first failure. What was copied completely by then stays, the
/// file that was not is deleted, and no folder is left with other permissions than its source's.
ZORVEX_API int Process(LProcessInterface& process, const LProcessCopyFolder& copy);

#endif  // ZORVEX_FOUNDATION_FILES_PROCESSCOPY_H
