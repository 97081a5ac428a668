// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_FRAMEPACER_H
#define ZORVEX_PLATFORM_SIMULATED_FRAMEPACER_H

#include "platform/simulated/sourceparts.h"
#include "platform/simulated/tapecounter.h"

/// The timing of a device that gives frames at its rate for as long as it is captured from, on the
/// clock of the pipeline. Frame 0 comes at the time of the first wait.
class FramePacer final : public SourceTiming {
 public:
  explicit FramePacer(FrameRate rate) : rate_(rate) {}

  void Reset() override;
  GstFlowReturn AwaitFrame(GstElement* source, SourceFrame& frame) override;
  GstClockTime FrameDuration() const override { return TimeOfFrames(rate_, 1); }

 private:
  const FrameRate rate_;
  GstClockTime start_ = GST_CLOCK_TIME_NONE;  ///< running time of frame 0
  std::uint64_t next_ = 0;
};

#endif  // ZORVEX_PLATFORM_SIMULATED_FRAMEPACER_H
