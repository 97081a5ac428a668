// SPDX-License-Identifier: MIT
#include "platform/fileflags.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <cstdio>

#include "platform/uniquefd.h"

namespace {

/// Looked at before it is opened, and opened as what was looked at: opening a device may do things,
/// and another file may take the name meanwhile.
UniqueFd OpenFileOrFolder(int folder, const char* name) {
  const UniqueFd place(openat(folder, name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat status = {};
  if (!place || fstat(place.Get(), &status) != 0) return {};
  if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) return {};
  char path[32];
  std::snprintf(path, sizeof path, "/proc/self/fd/%d", place.Get());
  return UniqueFd(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
}

}  // namespace

bool ClearFileFlags(int folder, const char* name) {
  const UniqueFd file = OpenFileOrFolder(folder, name);
  int flags = 0;
  if (!file || ioctl(file.Get(), FS_IOC_GETFLAGS, &flags) != 0) return false;
  const int cleared = flags & ~(FS_IMMUTABLE_FL | FS_APPEND_FL);
  return cleared != flags && ioctl(file.Get(), FS_IOC_SETFLAGS, &cleared) == 0;
}
