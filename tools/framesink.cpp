// SPDX-License-Identifier: MIT
#include "tools/framesink.h"

#include <algorithm>

FrameSink::FrameSink(const CaptureGoal& goal, bool snapshot, bool sheet)
    : goal_(goal), ring_(snapshot, sheet) {}

void FrameSink::OnFrame(unsigned char const* pixels, unsigned int pixelFormat, unsigned long width,
                        unsigned long height, unsigned long bytesPerRow, SMPTETime const* timeCode,
                        long data) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the library hands data through as a number.
  auto* const sink = reinterpret_cast<FrameSink*>(data);
  sink->Add(pixels, {pixelFormat, width, height, bytesPerRow}, timeCode);
}

void FrameSink::Add(const unsigned char* pixels, const FrameFormat& format,
                    const SMPTETime* timeCode) {
  KeptFrame* const copy = Note(format, timeCode);
  if (!copy) return;
  copy->pixels.assign(pixels, pixels + FrameBytes(format));
  const std::lock_guard lock(mutex_);
  ring_.Filled();
  changed_.notify_one();
}

/// Counts the frame; the copy to fill when a picture needs it.
KeptFrame* FrameSink::Note(const FrameFormat& format, const SMPTETime* timeCode) {
  const auto now = CaptureClock::now();
  const std::lock_guard lock(mutex_);
  if (complete_ || interrupted_) return nullptr;
  const double seconds = Seconds(now);
  const double share = Share(seconds);
  if (goal_.frames == 0 && share >= 1) {
    complete_ = true;
    changed_.notify_one();
    return nullptr;
  }
  log_.Add(format, timeCode, now);
  if (log_.Frames() == goal_.frames) {
    complete_ = true;
    changed_.notify_one();
  }
  KeptFrame* const copy = ring_.Claim(share);
  if (!copy) return nullptr;
  copy->format = format;
  copy->timeCode = timeCode ? std::optional(*timeCode) : std::nullopt;
  copy->seconds = seconds;
  return copy;
}

double FrameSink::Seconds(CaptureClock::time_point now) const {
  if (log_.Frames() == 0) return 0;
  return std::chrono::duration<double>(now - log_.First()).count();
}

double FrameSink::Share(double seconds) const {
  const double share = goal_.frames == 0
                           ? seconds / goal_.seconds
                           : static_cast<double>(log_.Frames()) / static_cast<double>(goal_.frames);
  return std::min(share, 1.0);
}

void FrameSink::Start() {
  const std::lock_guard lock(mutex_);
  started_ = CaptureClock::now();
}

void FrameSink::Interrupt() {
  const std::lock_guard lock(mutex_);
  interrupted_ = true;
  changed_.notify_one();
}

void FrameSink::Wait(CaptureClock::time_point until) {
  std::unique_lock lock(mutex_);
  changed_.wait_until(lock, until,
                      [&] { return complete_ || interrupted_ || ring_.Take() != nullptr; });
}

CaptureState FrameSink::State() const {
  const std::lock_guard lock(mutex_);
  const auto now = CaptureClock::now();
  const double seconds = Seconds(now);
  const double share = Share(seconds);
  const auto latest = log_.Frames() == 0 ? started_ : log_.Latest();
  return {log_.Frames(), log_.LatestTimeCode(),
          seconds,       std::chrono::duration<double>(now - latest).count(),
          share,         complete_ || share >= 1,
          interrupted_};
}

FrameSummary FrameSink::Summary() const {
  const std::lock_guard lock(mutex_);
  return log_.Summary();
}

const KeptFrame* FrameSink::TakeCopy() {
  const std::lock_guard lock(mutex_);
  return ring_.Take();
}

void FrameSink::GiveCopyBack() {
  const std::lock_guard lock(mutex_);
  ring_.GiveBack();
}
