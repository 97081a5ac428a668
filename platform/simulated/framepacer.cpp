// SPDX-License-Identifier: MIT
#include "platform/simulated/framepacer.h"

#include <algorithm>

void FramePacer::Reset() {
  start_ = GST_CLOCK_TIME_NONE;
  next_ = 0;
}

GstFlowReturn FramePacer::AwaitFrame(GstElement* source, SourceFrame& frame) {
  const GstPointer<GstClock> clock = ClockOf(source);
  if (!clock) return GST_FLOW_ERROR;
  const GstClockTime base = gst_element_get_base_time(source);
  const GstClockTime now = std::max(gst_clock_get_time(clock.get()), base) - base;
  if (start_ == GST_CLOCK_TIME_NONE) start_ = now;
  const std::uint64_t current = FramesInTime(rate_, std::max(now, start_) - start_);
  frame.index = current > next_ + kFramesKept ? current : next_;
  frame.lost = frame.index - next_;
  frame.isDiscontinuity = frame.lost > 0;
  frame.time = start_ + TimeOfFrames(rate_, frame.index);
  frame.duration = start_ + TimeOfFrames(rate_, frame.index + 1) - frame.time;
  switch (Waiting().Until(clock.get(), base + frame.time)) {
    case ClockWait::End::Interrupted:
      return GST_FLOW_FLUSHING;
    case ClockWait::End::Woken:
      return kLookAgain;
    case ClockWait::End::InTime:
      break;
  }
  next_ = frame.index + 1;
  return GST_FLOW_OK;
}
