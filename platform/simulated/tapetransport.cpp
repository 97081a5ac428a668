// SPDX-License-Identifier: MIT
#include "platform/simulated/tapetransport.h"

#include <algorithm>
#include <utility>

#include "platform/simulated/tapedrives.h"

using std::chrono::nanoseconds;

std::uint64_t TapeMotion::TickAt(nanoseconds time) const {
  if (time <= start) return 0;
  return FramesInTime(rate, static_cast<std::uint64_t>((time - start).count()));
}

nanoseconds TapeMotion::TimeOf(std::uint64_t tick) const {
  return start + nanoseconds(TimeOfFrames(rate, tick));
}

TapeTransport::TapeTransport(FrameRate rate, std::uint64_t frames, nanoseconds spinUp, Clock clock,
                             std::function<void()> onChange)
    : length_(kTapeUnits * static_cast<std::int64_t>(frames)),
      spinUp_(spinUp),
      clock_(std::move(clock)),
      onChange_(std::move(onChange)) {
  motion_.rate = rate;
  motion_.drive = kTapeStopped;
  motion_.start = clock_();
}

void TapeTransport::Drive(const TapeDrive& drive, bool isPrompt) {
  {
    const std::lock_guard lock(mutex_);
    EndAtEdge();
    if (drive == motion_.drive && drive.step == 0) return;
    const nanoseconds now = clock_();
    const std::int64_t position = motion_.PositionAt(motion_.TickAt(now));
    Begin(drive, isPrompt ? now : now + spinUp_, position);
  }
  onChange_();
}

/// Steps to the position of the motion's first tick and sees how far it can go.
void TapeTransport::Begin(const TapeDrive& drive, nanoseconds start, std::int64_t position) const {
  const std::int64_t lastFrame = length_ - kTapeUnits;
  // There is nothing to show, and to step to, beyond the last frame.
  if (drive.speed < 0 || drive.step != 0) position = std::min(position, lastFrame);
  position = std::clamp(position + drive.step * kTapeUnits, std::int64_t{0}, length_);
  if (drive.step != 0) position = std::min(position, lastFrame);
  ++motion_.number;
  motion_.drive = drive;
  motion_.start = start;
  motion_.position = position;
  motion_.end = TapeMotion::kWithoutEnd;
  if (drive.speed > 0) {
    motion_.end = static_cast<std::uint64_t>((length_ - position + drive.speed - 1) / drive.speed);
  } else if (drive.speed < 0) {
    motion_.end = static_cast<std::uint64_t>(position / -drive.speed + 1);
  }
  motion_.pictures = drive.isViewable ? motion_.end : drive.step != 0 ? 1 : 0;
}

/// Stops the tape where it has run to one of its ends.
void TapeTransport::EndAtEdge() const {
  if (motion_.end == TapeMotion::kWithoutEnd) return;
  const nanoseconds end = motion_.TimeOf(motion_.end);
  if (clock_() < end) return;
  Begin(kTapeStopped, end, motion_.drive.speed > 0 ? length_ : 0);
}

TapeMotion TapeTransport::Motion() const {
  const std::lock_guard lock(mutex_);
  EndAtEdge();
  return motion_;
}

bool TapeTransport::IsInTransition() const {
  const std::lock_guard lock(mutex_);
  EndAtEdge();
  return clock_() < motion_.start;
}

std::uint64_t TapeTransport::Frame() const {
  const TapeMotion motion = Motion();
  const std::int64_t position = motion.PositionAt(motion.TickAt(Now()));
  return static_cast<std::uint64_t>(std::clamp(position, std::int64_t{0}, length_ - kTapeUnits) /
                                    kTapeUnits);
}
