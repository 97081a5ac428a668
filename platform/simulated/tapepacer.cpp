// SPDX-License-Identifier: MIT
#include "platform/simulated/tapepacer.h"

#include <algorithm>
#include <utility>

TapePacer::TapePacer(std::shared_ptr<SimulatedHardware> hardware) : hardware_(std::move(hardware)) {
  hardware_->AddListener(Waiting());
}

TapePacer::~TapePacer() {
  hardware_->RemoveListener(Waiting());
}

void TapePacer::Reset() {
  motion_.reset();
  frames_ = 0;
}

GstClockTime TapePacer::FrameDuration() const {
  return TimeOfFrames(hardware_->Description().rate, 1);
}

/// A motion that begins during a capture is shown from its first tick; one that a capture comes
/// into, from the next.
void TapePacer::Follow(const TapeMotion& motion, std::chrono::nanoseconds now) {
  if (motion_ == motion.number) return;
  next_ = 0;
  if (!motion_ && now > motion.start) {
    next_ = motion.TickAt(now);
    if (motion.TimeOf(next_) < now) ++next_;
  }
  motion_ = motion.number;
  isOtherMotion_ = true;
}

GstFlowReturn TapePacer::AwaitFrame(GstElement* source, SourceFrame& frame) {
  const GstPointer<GstClock> clock = ClockOf(source);
  if (!clock) return GST_FLOW_ERROR;
  const TapeMotion motion = hardware_->Tape().Motion();
  const std::chrono::nanoseconds now = hardware_->Tape().Now();
  Follow(motion, now);
  const std::uint64_t current = motion.TickAt(now);
  const std::uint64_t tick = current > next_ + kFramesKept ? current : next_;
  const bool shows = tick < motion.pictures;
  // Past the last picture the end of the tape is what comes next, if anything does.
  const bool waitsForEver = !shows && motion.end == TapeMotion::kWithoutEnd;
  const GstClockTime due =
      waitsForEver ? GST_CLOCK_TIME_NONE
                   : hardware_->PipelineTime(clock.get(), motion.TimeOf(shows ? tick : motion.end));
  switch (Waiting().Until(clock.get(), due)) {
    case ClockWait::End::Interrupted:
      return GST_FLOW_FLUSHING;
    case ClockWait::End::Woken:
      return kLookAgain;
    case ClockWait::End::InTime:
      break;
  }
  if (!shows) return kLookAgain;
  const GstClockTime base = gst_element_get_base_time(source);
  frame.time = std::max(due, base) - base;
  frame.duration =
      static_cast<GstClockTime>((motion.TimeOf(tick + 1) - motion.TimeOf(tick)).count());
  Take(motion, tick, frame);
  return GST_FLOW_OK;
}

void TapePacer::Take(const TapeMotion& motion, std::uint64_t tick, SourceFrame& frame) {
  frame.lost = tick - next_;
  frame.index = frames_ + frame.lost;
  frame.isDiscontinuity = frame.lost > 0 || isOtherMotion_;
  frame.tapeFrame = static_cast<std::uint64_t>(motion.PositionAt(tick) / kTapeUnits);
  frame.tapeSpeed = motion.drive.speed;
  frames_ = frame.index + 1;
  next_ = tick + 1;
  isOtherMotion_ = false;
}
