// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_FRAMEPACER_H
#define ZORVEX_PLATFORM_SIMULATED_FRAMEPACER_H

#include <gst/gst.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "platform/simulated/tapecounter.h"

/// Says when a source's frames are due, on the clock of its pipeline, and holds the source up until
/// then. One thread waits; Interrupt and EndInterrupt may be called by any other.
class FramePacer {
 public:
  struct Frame {
    std::uint64_t index = 0;
    GstClockTime time = 0;   ///< in running time
    std::uint64_t lost = 0;  ///< frames skipped in front of it
  };

  explicit FramePacer(FrameRate rate) : rate_(rate) {}
  ~FramePacer();
  FramePacer(const FramePacer&) = delete;
  FramePacer& operator=(const FramePacer&) = delete;

  /// Begins again with frame 0, at the time of the first wait. Not while a thread waits.
  void Reset();
  /// Running time from frame 0 to frame `index`.
  GstClockTime TimeOf(std::uint64_t index) const;

  /// Waits for the next frame: one that is still to come, one of the last few, or the current one.
  /// FLUSHING when interrupted; ERROR, posted by `source`, when that has no clock.
  GstFlowReturn AwaitFrame(GstElement* source, Frame& frame);
  /// Waits without an end. FLUSHING.
  GstFlowReturn AwaitInterrupt();
  /// Does not answer for a while, not even to an interrupt.
  static void Hang(std::chrono::milliseconds time);

  /// Ends the wait in progress and those that begin before EndInterrupt.
  void Interrupt();
  void EndInterrupt();

 private:
  bool WaitUntil(GstClock* clock, GstClockTime time);

  const FrameRate rate_;
  GstClockTime start_ = GST_CLOCK_TIME_NONE;  ///< running time of frame 0
  std::uint64_t next_ = 0;

  std::mutex mutex_;  ///< guards what follows
  std::condition_variable interruptBegun_;
  bool interrupted_ = false;
  GstClockID wait_ = nullptr;  ///< made once and set to each frame's time
};

#endif  // ZORVEX_PLATFORM_SIMULATED_FRAMEPACER_H
