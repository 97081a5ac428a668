// SPDX-License-Identifier: MIT
#include "platform/simulated/framepacer.h"

#include <algorithm>
#include <thread>

#include "platform/gstreamer/gstpointer.h"

namespace {

/// Frames that wait for a consumer that is late, as in a driver's queue. More than that many behind
/// and they are lost.
constexpr std::uint64_t kFramesKept = 3;

}  // namespace

FramePacer::~FramePacer() {
  if (wait_) gst_clock_id_unref(wait_);
}

void FramePacer::Reset() {
  start_ = GST_CLOCK_TIME_NONE;
  next_ = 0;
}

GstClockTime FramePacer::TimeOf(std::uint64_t index) const {
  return gst_util_uint64_scale(index, GST_SECOND * static_cast<guint64>(rate_.denominator),
                               static_cast<guint64>(rate_.numerator));
}

GstFlowReturn FramePacer::AwaitFrame(GstElement* source, Frame& frame) {
  const GstPointer<GstClock> clock(gst_element_get_clock(source));
  if (!clock) {
    GST_ELEMENT_ERROR(source, CORE, CLOCK, ("A camera needs a clock."), (nullptr));
    return GST_FLOW_ERROR;
  }
  const GstClockTime base = gst_element_get_base_time(source);
  const GstClockTime now = std::max(gst_clock_get_time(clock.get()), base) - base;
  if (start_ == GST_CLOCK_TIME_NONE) start_ = now;
  const std::uint64_t current =
      gst_util_uint64_scale(std::max(now, start_) - start_, static_cast<guint64>(rate_.numerator),
                            GST_SECOND * static_cast<guint64>(rate_.denominator));
  frame.index = current > next_ + kFramesKept ? current : next_;
  frame.lost = frame.index - next_;
  frame.time = start_ + TimeOf(frame.index);
  if (!WaitUntil(clock.get(), base + frame.time)) return GST_FLOW_FLUSHING;
  next_ = frame.index + 1;
  return GST_FLOW_OK;
}

bool FramePacer::WaitUntil(GstClock* clock, GstClockTime time) {
  GstClockID wait = nullptr;
  {
    const std::lock_guard lock(mutex_);
    if (interrupted_) return false;
    if (wait_ && !gst_clock_single_shot_id_reinit(clock, wait_, time)) {
      gst_clock_id_unref(wait_);  // of a clock that was replaced
      wait_ = nullptr;
    }
    if (!wait_) wait_ = gst_clock_new_single_shot_id(clock, time);
    wait = wait_;
  }
  return gst_clock_id_wait(wait, nullptr) != GST_CLOCK_UNSCHEDULED;
}

GstFlowReturn FramePacer::AwaitInterrupt() {
  std::unique_lock lock(mutex_);
  interruptBegun_.wait(lock, [&] { return interrupted_; });
  return GST_FLOW_FLUSHING;
}

void FramePacer::Hang(std::chrono::milliseconds time) {
  std::this_thread::sleep_for(time);
}

void FramePacer::Interrupt() {
  const std::lock_guard lock(mutex_);
  interrupted_ = true;
  if (wait_) gst_clock_id_unschedule(wait_);
  interruptBegun_.notify_all();
}

void FramePacer::EndInterrupt() {
  const std::lock_guard lock(mutex_);
  interrupted_ = false;
}
