// SPDX-License-Identifier: MIT
#include "foundation/system/tcpwait.h"

#include <algorithm>
#include <cerrno>
#include <climits>

#include "foundation/system/tcperror.h"

namespace {

int WaitOnce(LProcessInterface& process, const int* descriptors, std::size_t count,
             unsigned int timeout) {
  if (count == 1) {
    const LSignalObjectRef readable(descriptors[0], -1);
    return timeout == LSignalWaitForever ? process.ProcessWaitSignalForever(readable)
                                         : process.ProcessWaitSignal(readable, timeout);
  }
  // Made anew for each wait: a process may leave an event of its own in it.
  LSignalObjectGroup group;
  for (std::size_t index = 0; index < count; ++index)
    group.Add(LSignalObjectRef(descriptors[index], -1));
  return timeout == LSignalWaitForever ? process.ProcessWaitSignalObjectGroupForever(group)
                                       : process.ProcessWaitSignalObjectGroup(group, timeout);
}

/// What `poll` says when it cannot wait at all, now or later.
bool IsFailureOfPoll(int error) {
  return error == EINVAL || error == ENOMEM || error == EFAULT;
}

}  // namespace

TcpDeadline::TcpDeadline(unsigned int timeout)
    : end_(timeout == LSignalWaitForever ? Clock::time_point::max()
                                         : Clock::now() + std::chrono::milliseconds(timeout)),
      onlyLooks_(timeout == 0) {}

unsigned int TcpDeadline::Remaining() const {
  if (!HasLimit()) return LSignalWaitForever;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
  return static_cast<unsigned int>(std::clamp<long long>(left, 0, INT_MAX));
}

int TcpWait(LProcessInterface& process, const int* descriptors, std::size_t count,
            const TcpDeadline& deadline) {
  for (;;) {
    errno = 0;
    const int result = WaitOnce(process, descriptors, count, deadline.Remaining());
    const int error = errno;
    if (result == 0) return 0;
    if (result == 1) return TcpStopped();
    if (deadline.IsOver()) return TcpFailed(EAGAIN);
    // A wait that ends before its time was interrupted, or has failed, or the process has reasons
    // of its own; then it must not keep the processor busy.
    if (error == EINTR) continue;
    if (IsFailureOfPoll(error)) return TcpFailed(error);
    if (process.ProcessWait(1) == 1) return TcpStopped();
  }
}
