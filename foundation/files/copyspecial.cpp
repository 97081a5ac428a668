// SPDX-License-Identifier: MIT
#include "foundation/files/copyspecial.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

/// No system takes longer paths.
constexpr ssize_t kMaxLinkLength = 4096;

bool MakeRoom(int folder, const char* name) {
  return unlinkat(folder, name, 0) == 0 || errno == ENOENT;
}

void CarryTimes(int folder, const char* name, const struct stat& source) {
  const timespec times[] = {source.st_atim, source.st_mtim};
  utimensat(folder, name, times, AT_SYMLINK_NOFOLLOW);
}

}  // namespace

bool CopyLink(int from, const char* name, int to) {
  struct stat status = {};
  char target[kMaxLinkLength + 1];
  const bool isThere = fstatat(from, name, &status, AT_SYMLINK_NOFOLLOW) == 0;
  const ssize_t length = isThere ? readlinkat(from, name, target, kMaxLinkLength) : -1;
  if (length < 0) return errno == ENOENT;
  errno = ENAMETOOLONG;
  if (length == kMaxLinkLength) return false;
  target[length] = '\0';
  if (!MakeRoom(to, name) || symlinkat(target, to, name) != 0) return false;
  CarryTimes(to, name, status);
  return true;
}

bool CopyPipe(int from, const char* name, int to) {
  struct stat status = {};
  if (fstatat(from, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno == ENOENT;
  if (!S_ISFIFO(status.st_mode)) return true;
  const mode_t permissions = status.st_mode & 0777;
  if (!MakeRoom(to, name) || mkfifoat(to, name, permissions) != 0) return false;
  // The umask has left some out. Whoever puts a link here meanwhile gets no permissions changed.
  fchmodat(to, name, permissions, AT_SYMLINK_NOFOLLOW);
  CarryTimes(to, name, status);
  return true;
}
