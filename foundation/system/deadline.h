// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_DEADLINE_H
#define ZORVEX_FOUNDATION_SYSTEM_DEADLINE_H

#include <algorithm>
#include <chrono>
#include <climits>

#include "foundation/threads/signalobject.h"

/// A moment, or none, that waits are not to go beyond.
class Deadline {
 public:
  Deadline() = default;
  explicit Deadline(std::chrono::milliseconds fromNow) : end_(Clock::now() + fromNow) {}
  static Deadline In(unsigned int timeoutMs) {
    return timeoutMs == LSignalWaitForever ? Deadline()
                                           : Deadline(std::chrono::milliseconds(timeoutMs));
  }

  [[nodiscard]] bool IsOver() const { return Clock::now() >= end_; }
  /// For a wait, rounded up, so that it is over after it.
  [[nodiscard]] unsigned int RemainingMs() const {
    if (end_ == Clock::time_point::max()) return LSignalWaitForever;
    const auto remaining =
        std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
    return static_cast<unsigned int>(std::clamp<decltype(remaining)>(remaining, 0, INT_MAX));
  }

 private:
  using Clock = std::chrono::steady_clock;

  Clock::time_point end_ = Clock::time_point::max();
};

#endif  // ZORVEX_FOUNDATION_SYSTEM_DEADLINE_H
