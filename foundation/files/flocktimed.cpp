// SPDX-License-Identifier: MIT
#include "foundation/files/flocktimed.h"

#include <sys/file.h>
#include <time.h>

#include <cerrno>
#include <cstdint>

namespace {

void Sleep(std::uint64_t milliseconds) {
  timespec rest = {.tv_sec = static_cast<time_t>(milliseconds / 1000),
                   .tv_nsec = static_cast<long>(milliseconds % 1000) * 1'000'000};
  while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
  }
}

}  // namespace

int flocktimed(int fd, int operation, unsigned int timeoutMs) {
  // 64 bits: the last doubling of a long timeout would not fit 32.
  std::uint64_t sleep = timeoutMs / 32 + 1;
  bool isFirst = true;
  // No try follows the last sleep: callers count on the sum of the sleeps, not on a last chance.
  while (isFirst || sleep < timeoutMs) {
    if (flock(fd, operation) == 0) return 0;
    if (errno != EWOULDBLOCK) return -1;
    if (sleep >= timeoutMs) break;
    Sleep(sleep);
    sleep *= 2;
    isFirst = false;
  }
  errno = EWOULDBLOCK;
  return -1;
}
