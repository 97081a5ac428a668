// SPDX-License-Identifier: MIT
#include "platform/sound/soundtimeline.h"

#include <algorithm>

namespace {

constexpr std::int64_t kMillisecond = 1000000;

/// Long enough that a buffer or two of it arrive without delay, even on a busy machine.
constexpr std::int64_t kSpan = 2000 * kMillisecond;

/// A delay that lasts for a whole span means that the device lost samples and did not say so.
constexpr std::int64_t kLoss = 100 * kMillisecond;

/// The most by which a buffer's duration is corrected, as a part of it: clocks differ by a tenth
/// of that at most.
constexpr std::int64_t kCorrectionPart = 200;

}  // namespace

namespace gstreamer {

void SoundTimeline::Measure(std::int64_t deviation, std::int64_t duration) {
  leastDeviation_ = measured_ == 0 ? deviation : std::min(leastDeviation_, deviation);
  measured_ += duration;
  // Sound cannot arrive before it was made: this is news at once.
  if (deviation < 0) error_ = std::min(error_, deviation);
  if (measured_ < kSpan) return;
  error_ = leastDeviation_;
  measured_ = 0;
}

SoundTimeline::Stamp SoundTimeline::Next(std::int64_t duration, std::int64_t arrival,
                                         bool isAfterLoss) {
  const std::int64_t latestStart = arrival - duration;
  bool isDiscontinuous = false;
  if (!hasBegun_) {
    hasBegun_ = isDiscontinuous = true;
    next_ = std::max<std::int64_t>(latestStart, 0);
  }
  Measure(latestStart - next_, duration);
  if (isAfterLoss || error_ > kLoss) {
    isDiscontinuous = true;
    next_ = std::max(next_, isAfterLoss ? latestStart : next_ + error_);
    error_ = measured_ = 0;
  }
  const std::int64_t most = duration / kCorrectionPart;
  const std::int64_t correction = std::clamp(error_, -most, most);
  const Stamp stamp{next_, duration + correction, isDiscontinuous};
  next_ += stamp.duration;
  error_ -= correction;
  return stamp;
}

}  // namespace gstreamer
