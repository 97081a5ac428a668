// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_CLOCKWAIT_H
#define ZORVEX_PLATFORM_SIMULATED_CLOCKWAIT_H

#include <gst/gst.h>

#include <condition_variable>
#include <mutex>

/// Holds a source's streaming thread up until a time on a clock. One thread waits; the others'
/// calls end its wait.
class ClockWait {
 public:
  enum class End {
    InTime,       ///< the time has come, or had passed already
    Woken,        ///< something has changed: what is waited for may be another time now
    Interrupted,  ///< the source is to stop
  };

  ClockWait() = default;
  ~ClockWait();
  ClockWait(const ClockWait&) = delete;
  ClockWait& operator=(const ClockWait&) = delete;

  /// `time` on the clock; without end for GST_CLOCK_TIME_NONE.
  End Until(GstClock* clock, GstClockTime time);
  /// Waits for the interrupt alone.
  void ForInterrupt();

  /// Ends the wait in progress, or else the next one.
  void Wake();
  /// Ends the wait in progress and those that begin before EndInterrupt.
  void Interrupt();
  void EndInterrupt();

 private:
  /// Whether a wait has come to its end without the clock. With the mutex held.
  bool IsOver() const { return interrupted_ || woken_; }
  End TakeEnd();

  std::mutex mutex_;  ///< guards what follows
  std::condition_variable over_;
  bool interrupted_ = false;
  bool woken_ = false;
  GstClockID wait_ = nullptr;  ///< made once and set to each time
};

#endif  // ZORVEX_PLATFORM_SIMULATED_CLOCKWAIT_H
