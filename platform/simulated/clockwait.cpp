// SPDX-License-Identifier: MIT
#include "platform/simulated/clockwait.h"

ClockWait::~ClockWait() {
  if (wait_) gst_clock_id_unref(wait_);
}

ClockWait::End ClockWait::Until(GstClock* clock, GstClockTime time) {
  std::unique_lock lock(mutex_);
  if (!GST_CLOCK_TIME_IS_VALID(time)) over_.wait(lock, [&] { return IsOver(); });
  if (IsOver()) return TakeEnd();
  if (wait_ && !gst_clock_single_shot_id_reinit(clock, wait_, time)) {
    gst_clock_id_unref(wait_);  // of a clock that was replaced
    wait_ = nullptr;
  }
  if (!wait_) wait_ = gst_clock_new_single_shot_id(clock, time);
  const GstClockID wait = wait_;
  lock.unlock();
  gst_clock_id_wait(wait, nullptr);
  lock.lock();
  return TakeEnd();
}

ClockWait::End ClockWait::TakeEnd() {
  if (interrupted_) return End::Interrupted;
  if (!woken_) return End::InTime;
  woken_ = false;
  return End::Woken;
}

void ClockWait::ForInterrupt() {
  std::unique_lock lock(mutex_);
  over_.wait(lock, [&] { return interrupted_; });
}

void ClockWait::Wake() {
  const std::lock_guard lock(mutex_);
  woken_ = true;
  if (wait_) gst_clock_id_unschedule(wait_);
  over_.notify_all();
}

void ClockWait::Interrupt() {
  const std::lock_guard lock(mutex_);
  interrupted_ = true;
  if (wait_) gst_clock_id_unschedule(wait_);
  over_.notify_all();
}

void ClockWait::EndInterrupt() {
  const std::lock_guard lock(mutex_);
  interrupted_ = false;
}
