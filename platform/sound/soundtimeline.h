// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SOUND_SOUNDTIMELINE_H
#define ZORVEX_PLATFORM_SOUND_SOUNDTIMELINE_H

#include <cstdint>

namespace gstreamer {

/// When the sound of a device was taken, on a clock that is not the device's.
///
/// Samples are counted, so that the times follow each other without a gap however late a busy
/// machine fetches them. What the count lacks is that the two clocks run at slightly different
/// speeds: the times are drawn, imperceptibly slowly, towards those of the buffers that arrived
/// with the least delay. All times are in nanoseconds.
class SoundTimeline {
 public:
  struct Stamp {
    std::int64_t start;
    std::int64_t duration;  ///< up to the start of the next buffer: the samples' own, corrected
    bool isDiscontinuous;   ///< samples are missing in front of it, or it is the first
  };

  /// For a buffer that lasts `duration` by the device's clock and was complete at `arrival`.
  /// `isAfterLoss` when the device said that it lost samples in front of it.
  Stamp Next(std::int64_t duration, std::int64_t arrival, bool isAfterLoss);

 private:
  void Measure(std::int64_t deviation, std::int64_t duration);

  bool hasBegun_ = false;
  std::int64_t next_ = 0;
  std::int64_t error_ = 0;  ///< what `next_` has still to be moved by
  // Of the present span of measuring.
  std::int64_t measured_ = 0;
  std::int64_t leastDeviation_ = 0;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_SOUND_SOUNDTIMELINE_H
