// SPDX-License-Identifier: MIT
#include "foundation/files/copystatus.h"

#include <cerrno>

UniqueFd OpenRegularFile(int folder, const char* name, int flags, struct stat& status) {
  // Looked at first: merely opening a device may do something.
  const int following = (flags & O_NOFOLLOW) != 0 ? AT_SYMLINK_NOFOLLOW : 0;
  if (fstatat(folder, name, &status, following) != 0) return {};
  if (S_ISREG(status.st_mode)) {
    UniqueFd file(openat(folder, name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags));
    if (!file || fstat(file.Get(), &status) != 0) return {};
    if (S_ISREG(status.st_mode)) return file;
  }
  errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  return {};
}

void DeleteUnfinished(int folder, const char* name, const struct stat& file) {
  const int error = errno;
  struct stat named = {};
  if (fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) == 0 && IsSameFile(file, named)) {
    unlinkat(folder, name, 0);
  }
  errno = error;
}

bool CloseWritten(UniqueFd file) {
  // Not tried again when interrupted: the descriptor is gone either way.
  return close(file.Release()) == 0 || errno == EINTR;
}
