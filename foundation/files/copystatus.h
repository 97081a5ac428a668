// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_COPYSTATUS_H
#define ZORVEX_FOUNDATION_FILES_COPYSTATUS_H

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/filecopy.h"
#include "platform/uniquefd.h"

/// \file
/// What a copy carries beside the content. File systems that cannot keep some of it take what they
/// can; that is no failure of the copy.

inline bool IsSameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Last access and last change of the content, as they were in `source`.
inline void CarryTimes(int to, const struct stat& source) {
  const timespec times[] = {source.st_atim, source.st_mtim};
  futimens(to, times);
}

/// Of a copy that belongs to somebody else, permissions to act as its owner or group would give
/// away other rights than those of the source.
inline void CarryPermissions(int to, const struct stat& source) {
  mode_t permissions = source.st_mode & 07777;
  struct stat copy = {};
  const bool isKnown = fstat(to, &copy) == 0;
  if (!isKnown || copy.st_uid != source.st_uid) permissions &= ~mode_t{S_ISUID};
  if (!isKnown || copy.st_gid != source.st_gid) permissions &= ~mode_t{S_ISGID};
  if (fchmod(to, permissions) != 0) fchmod(to, permissions & 0777);
}

/// All that a file or folder has, in an order in which nothing undoes what came before.
inline void CarryStatus(int from, int to, const struct stat& source) {
  CopyFileAttributes(from, to);
  CarryPermissions(to, source);
  CarryTimes(to, source);
}

/// Opens a regular file for reading, without waiting for what is none. Empty with the reason in
/// `errno`. `flags`: O_NOFOLLOW or 0.
UniqueFd OpenRegularFile(int folder, const char* name, int flags, struct stat& status);

/// Deletes what was not finished, if it still is what is there under the name. Before it is closed,
/// so that nobody gets its lock meanwhile. Leaves `errno` alone.
void DeleteUnfinished(int folder, const char* name, const struct stat& file);

/// Closes a file. False when the system only now tells that not all was written.
bool CloseWritten(UniqueFd file);

#endif  // ZORVEX_FOUNDATION_FILES_COPYSTATUS_H
