// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FILECOPY_H
#define ZORVEX_PLATFORM_FILECOPY_H

#include <sys/types.h>

#include <cstddef>

/// \file
/// What systems have for copying files, each in its own way. Files are open descriptors, which stay
/// the caller's. Any thread.

/// Makes an empty file share the whole content of another one, where the file system can. False,
/// and nothing has changed, when it cannot.
bool CloneFile(int from, int to);

/// Has the system copy bytes between two files at an offset, without bringing them here. May copy
/// fewer. 0 at the end of the source. -1 when the system will not, with the reason in `errno`: then
/// the caller reads and writes. Also on 0 for a file that is not at its end by its size: what some
/// file systems make up on the fly is only there for who reads it.
ssize_t CopyFileBytes(int from, int to, off_t offset, std::size_t count);

/// Gives a file the extended attributes of another one, as far as both file systems and the user's
/// rights let it: those of users and the lists of access rights, not those that give privileges to
/// a program or belong to security rules of the system. Files and folders.
void CopyFileAttributes(int from, int to);

#endif  // ZORVEX_PLATFORM_FILECOPY_H
