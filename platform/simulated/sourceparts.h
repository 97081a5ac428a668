// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SOURCEPARTS_H
#define ZORVEX_PLATFORM_SIMULATED_SOURCEPARTS_H

#include <gst/gst.h>

#include <cstdint>

#include "platform/gstreamer/gstpointer.h"
#include "platform/simulated/clockwait.h"

/// \file
/// What a simulated source is put together from: something that says when its frames are due, and
/// something that fills them. A piece of sound counts as a frame here.

/// One frame of a capture.
struct SourceFrame {
  std::uint64_t index = 0;  ///< counted from the start of the capture
  GstClockTime time = 0;    ///< in running time
  GstClockTime duration = 0;
  std::uint64_t lost = 0;        ///< frames skipped in front of it
  bool isDiscontinuity = false;  ///< does not follow the one before, be it lost or not
  std::uint64_t tapeFrame = 0;   ///< counted from the start of the tape, as the next
  std::int64_t tapeSpeed = 0;    ///< in 480ths of normal speed; negative is reverse
};

/// Says when frames are due. Used by the streaming thread, but for what `Waiting` gives.
class SourceTiming {
 public:
  /// AwaitFrame's answer when something else happened: see what it was and wait again.
  static constexpr GstFlowReturn kLookAgain = GST_FLOW_CUSTOM_SUCCESS;

  SourceTiming() = default;
  virtual ~SourceTiming() = default;
  SourceTiming(const SourceTiming&) = delete;
  SourceTiming& operator=(const SourceTiming&) = delete;

  /// Begins a capture, with frame 0.
  virtual void Reset() = 0;
  /// Waits for the next frame: one that is still to come, one of the last few, or the current one.
  /// FLUSHING when interrupted; ERROR, posted by `source`, when that has no clock.
  virtual GstFlowReturn AwaitFrame(GstElement* source, SourceFrame& frame) = 0;
  /// The time of a frame, at most.
  virtual GstClockTime FrameDuration() const = 0;

  ClockWait& Waiting() { return waiting_; }

 protected:
  /// Frames that wait for a consumer that is late, as in a driver's queue. More than that many
  /// behind and they are lost.
  static constexpr std::uint64_t kFramesKept = 3;

  /// The clock of a running source; null, with an error posted, when it has none.
  static GstPointer<GstClock> ClockOf(GstElement* source) {
    GstPointer<GstClock> clock(gst_element_get_clock(source));
    if (!clock) GST_ELEMENT_ERROR(source, CORE, CLOCK, ("A device needs a clock."), (nullptr));
    return clock;
  }

 private:
  ClockWait waiting_;
};

/// Fills frames. Used by one thread at a time.
class SourceMedium {
 public:
  enum class Filling {
    Filled,
    Skipped,  ///< there is nothing for this frame
    Failed,   ///< the buffer has no memory
  };

  SourceMedium() = default;
  virtual ~SourceMedium() = default;
  SourceMedium(const SourceMedium&) = delete;
  SourceMedium& operator=(const SourceMedium&) = delete;

  /// The format of a frame, the first one's for none. Fixed; the medium owns it.
  virtual GstCaps* CapsAt(const SourceFrame* frame) = 0;
  /// The bytes of a frame, at most.
  virtual std::size_t BufferSize() const = 0;
  /// Fills a buffer of that size, or makes it smaller. It may give it an offset in its own units.
  virtual Filling Fill(GstBuffer* buffer, const SourceFrame& frame) = 0;
};

#endif  // ZORVEX_PLATFORM_SIMULATED_SOURCEPARTS_H
