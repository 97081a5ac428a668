// SPDX-License-Identifier: MIT
#include "foundation/files/openlocked.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

UniqueFd OpenLocked(const char* path, int flags, mode_t mode) {
  int descriptor = -1;
  do {
    descriptor = open(path, flags | O_NONBLOCK | O_CLOEXEC, mode);
  } while (descriptor < 0 && errno == EINTR);
  UniqueFd file(descriptor);
  if (!file || flock(file.Get(), LOCK_EX | LOCK_NB) == 0) return file;
  const int error = errno;
  file = UniqueFd();
  errno = error;
  return file;
}
