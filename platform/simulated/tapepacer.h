// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_TAPEPACER_H
#define ZORVEX_PLATFORM_SIMULATED_TAPEPACER_H

#include <memory>
#include <optional>

#include "platform/simulated/simulatedhardware.h"
#include "platform/simulated/sourceparts.h"

/// The timing of what comes off a tape: a frame for each tick of a motion that shows one, at the
/// time at which it passes the head, and none while the tape stands still or winds. Frames are
/// numbered as they come; the tape's own numbers jump as it does.
class TapePacer final : public SourceTiming {
 public:
  explicit TapePacer(std::shared_ptr<SimulatedHardware> hardware);
  ~TapePacer() override;

  void Reset() override;
  GstFlowReturn AwaitFrame(GstElement* source, SourceFrame& frame) override;
  GstClockTime FrameDuration() const override;

 private:
  void Follow(const TapeMotion& motion, std::chrono::nanoseconds now);
  void Take(const TapeMotion& motion, std::uint64_t tick, SourceFrame& frame);

  const std::shared_ptr<SimulatedHardware> hardware_;
  std::optional<std::uint64_t> motion_;  ///< the number of the one that is followed
  std::uint64_t next_ = 0;               ///< tick of it
  bool isOtherMotion_ = false;           ///< it has shown nothing yet
  std::uint64_t frames_ = 0;             ///< of the capture, lost ones included
};

#endif  // ZORVEX_PLATFORM_SIMULATED_TAPEPACER_H
