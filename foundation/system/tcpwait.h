// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_TCPWAIT_H
#define ZORVEX_FOUNDATION_SYSTEM_TCPWAIT_H

#include <chrono>
#include <cstddef>

#include "foundation/threads/processinterface.h"

/// When an operation that began now, and has so many milliseconds (4294967295: no limit), is late.
class TcpDeadline {
 public:
  using Clock = std::chrono::steady_clock;

  explicit TcpDeadline(unsigned int timeout);
  /// The earlier one of another and of a moment.
  TcpDeadline(const TcpDeadline& other, Clock::time_point moment)
      : end_(other.end_ < moment ? other.end_ : moment), onlyLooks_(other.onlyLooks_) {}

  [[nodiscard]] bool HasLimit() const { return end_ != Clock::time_point::max(); }
  [[nodiscard]] bool IsOver() const { return HasLimit() && Clock::now() >= end_; }
  /// Whether to leave off although there is no need to wait. An operation of 0 milliseconds never
  /// is: it does what it can without waiting.
  [[nodiscard]] bool IsLate() const { return !onlyLooks_ && IsOver(); }
  /// The milliseconds that remain, rounded up, as the system's waits take them; more than they can
  /// take in one go are cut.
  [[nodiscard]] unsigned int Remaining() const;

 private:
  Clock::time_point end_;
  bool onlyLooks_;
};

/// Waits until one of the descriptors is readable: 0 with no error set, else as TcpStopped and
/// TcpFailed, with EAGAIN when it is late. A signal handler does not end the wait.
int TcpWait(LProcessInterface& process, const int* descriptors, std::size_t count,
            const TcpDeadline& deadline);
inline int TcpWait(LProcessInterface& process, int descriptor, const TcpDeadline& deadline) {
  return TcpWait(process, &descriptor, 1, deadline);
}

#endif  // ZORVEX_FOUNDATION_SYSTEM_TCPWAIT_H
