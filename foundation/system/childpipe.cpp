// SPDX-License-Identifier: MIT
#include "foundation/system/childpipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

UniqueFd AboveStandardDescriptors(UniqueFd descriptor) {
  if (!descriptor || descriptor.Get() > STDERR_FILENO) return descriptor;
  return UniqueFd(fcntl(descriptor.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

UniqueFd OpenNothing() {
  return AboveStandardDescriptors(UniqueFd(open("/dev/null", O_RDWR | O_CLOEXEC)));
}

bool ChildPipe::Open() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  UniqueFd readEnd(ends[0]);
  write = AboveStandardDescriptors(UniqueFd(ends[1]));
  read = AboveStandardDescriptors(std::move(readEnd));
  // The child's end is another open file, which keeps blocking.
  return read && write && fcntl(read.Get(), F_SETFL, O_NONBLOCK) == 0;
}
