// SPDX-License-Identifier: MIT
#include "platform/simulated/simulatedhardware.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "platform/simulated/tapedrives.h"

namespace {

std::chrono::nanoseconds SystemTime() {
  return std::chrono::steady_clock::now().time_since_epoch();
}

}  // namespace

SimulatedHardware::SimulatedHardware(SimulatedDescription description,
                                     TapeTransport::Clock tapeClock)
    : description_(std::move(description)),
      counter_(description_.rate, description_.dropFrame),
      tapeStart_(counter_.FrameAt(description_.tapeStart).value_or(0)),
      tape_(description_.rate, TapeFrames(description_), description_.spinUp,
            tapeClock ? std::move(tapeClock) : SystemTime, [this] { WakeListeners(); }) {}

bool SimulatedHardware::IsConnected() const {
  const std::lock_guard lock(mutex_);
  if (timesUnplugged_ == 0) return true;
  return description_.replugAfter &&
         std::chrono::steady_clock::now() - pulledAt_ >= *description_.replugAfter;
}

int SimulatedHardware::TimesUnplugged() const {
  const std::lock_guard lock(mutex_);
  return timesUnplugged_;
}

bool SimulatedHardware::PullPlugAfter(std::uint64_t frames) {
  if (!description_.unplugAfter || frames < *description_.unplugAfter) return false;
  {
    const std::lock_guard lock(mutex_);
    if (timesUnplugged_ > 0) return false;
    ++timesUnplugged_;
    pulledAt_ = std::chrono::steady_clock::now();
  }
  WakeListeners();
  return true;
}

void SimulatedHardware::Hang() {
  const auto end = std::chrono::steady_clock::now() + description_.hangFor;
  {
    const std::lock_guard lock(mutex_);
    hangsUntil_ = std::max(hangsUntil_, end);
  }
  std::this_thread::sleep_until(end);
}

std::chrono::steady_clock::time_point SimulatedHardware::HangsUntil() const {
  const std::lock_guard lock(mutex_);
  return hangsUntil_;
}

void SimulatedHardware::NoteOpening() {
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(wasOpened_, true)) return;
  }
  if (description_.playsWhenOpened) tape_.Drive(kTapePlaying, /*isPrompt=*/true);
}

TapeTime SimulatedHardware::TimeCodeOf(std::uint64_t frame) const {
  return counter_.TimeAt(tapeStart_ + frame);
}

GstClockTime SimulatedHardware::PipelineTime(GstClock* clock, std::chrono::nanoseconds tapeTime) {
  const std::lock_guard lock(mutex_);
  if (clock_.get() != clock) {
    clock_.reset(static_cast<GstClock*>(gst_object_ref(clock)));
    clockOffset_ = static_cast<std::int64_t>(gst_clock_get_time(clock)) - tape_.Now().count();
  }
  return static_cast<GstClockTime>(std::max<std::int64_t>(tapeTime.count() + clockOffset_, 0));
}

void SimulatedHardware::AddListener(ClockWait& wait) {
  const std::lock_guard lock(mutex_);
  listeners_.push_back(&wait);
}

void SimulatedHardware::RemoveListener(ClockWait& wait) {
  const std::lock_guard lock(mutex_);
  std::erase(listeners_, &wait);
}

void SimulatedHardware::WakeListeners() {
  const std::lock_guard lock(mutex_);
  for (ClockWait* listener : listeners_)
    listener->Wake();
}
