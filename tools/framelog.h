// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_FRAMELOG_H
#define ZORVEX_TOOLS_FRAMELOG_H

#include <zorvex/zorvex.h>

#include <optional>
#include <vector>

#include "tools/captureclock.h"
#include "tools/picture.h"

struct FrameSummary {
  unsigned long frames = 0;
  FrameFormat format;  ///< of the latest frame
  std::optional<SMPTETime> firstTimeCode;
  std::optional<SMPTETime> lastTimeCode;
  double seconds = 0;                     ///< from the first to the latest frame
  std::optional<double> framesPerSecond;  ///< none with fewer than two frames
  unsigned long dropped = 0;
};

/// What a report needs to know of the frames of one capture. Allocates nothing per frame.
class FrameLog {
 public:
  FrameLog();

  /// Takes in the next frame; `timeCode` may be null.
  void Add(const FrameFormat& format, const SMPTETime* timeCode, CaptureClock::time_point now);

  unsigned long Frames() const { return summary_.frames; }
  /// When the first and the latest frame came; meaningless without a frame.
  CaptureClock::time_point First() const { return first_; }
  CaptureClock::time_point Latest() const { return latest_; }
  const std::optional<SMPTETime>& LatestTimeCode() const { return summary_.lastTimeCode; }

  /// Everything so far. Dropped frames are those that the time codes leave out, as long as every
  /// frame had one and none jumped further than the time that had passed explains. Else they are
  /// those that are missing to a steady rate over the time of the capture: the rate at which most
  /// frames arrived.
  FrameSummary Summary() const;

 private:
  void AddTimeCode(const SMPTETime* timeCode, double sinceLatest);
  unsigned long DroppedByTimeCode() const;
  unsigned long DroppedByArrival() const;

  FrameSummary summary_;
  CaptureClock::time_point first_;
  CaptureClock::time_point latest_;
  bool continuous_ = true;        ///< the time codes can be counted
  std::vector<float> intervals_;  ///< between the latest frames, in seconds; a ring
};

#endif  // ZORVEX_TOOLS_FRAMELOG_H
