// SPDX-License-Identifier: MIT
#include "tools/framelog.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "tools/timecode.h"

namespace {

constexpr std::size_t intervalLimit = 4096;

/// The time between two frames where none is missing: the mean of those intervals that are near the
/// median. The jitter of their neighbours cancels out in it, so that it holds over a long capture,
/// where the median alone would be too coarse.
double UsualInterval(std::vector<float> intervals) {
  const auto middle = intervals.begin() + static_cast<std::ptrdiff_t>(intervals.size() / 2);
  std::nth_element(intervals.begin(), middle, intervals.end());
  const float median = *middle;
  const auto end = std::partition(intervals.begin(), intervals.end(), [&](float interval) {
    return interval >= 0.5f * median && interval <= 1.5f * median;
  });
  return std::accumulate(intervals.begin(), end, 0.0) /
         static_cast<double>(end - intervals.begin());
}

}  // namespace

FrameLog::FrameLog() {
  intervals_.reserve(intervalLimit);
}

void FrameLog::Add(const FrameFormat& format, const SMPTETime* timeCode,
                   CaptureClock::time_point now) {
  double sinceLatest = 0;
  if (summary_.frames == 0) {
    first_ = now;
  } else {
    sinceLatest = SecondsBetween(latest_, now);
    const auto interval = static_cast<float>(sinceLatest);
    if (intervals_.size() < intervalLimit) {
      intervals_.push_back(interval);
    } else {
      intervals_[summary_.frames % intervalLimit] = interval;
    }
  }
  AddTimeCode(timeCode, sinceLatest);
  summary_.format = format;
  latest_ = now;
  ++summary_.frames;
}

void FrameLog::AddTimeCode(const SMPTETime* timeCode, double sinceLatest) {
  auto& last = summary_.lastTimeCode;
  if (!timeCode || (!last && summary_.frames > 0)) continuous_ = false;
  if (!timeCode) return;
  if (!summary_.firstTimeCode) summary_.firstTimeCode = *timeCode;
  if (last) {
    const double step = static_cast<double>(timeCode->mCounter) - last->mCounter;
    const double furthest = TimeCodeRate(*timeCode) * (1 + 2 * sinceLatest);
    if (step < 1 || step > furthest || timeCode->mType != last->mType) continuous_ = false;
  }
  last = *timeCode;
}

FrameSummary FrameLog::Summary() const {
  FrameSummary summary = summary_;
  if (summary.frames < 2) return summary;
  summary.seconds = SecondsBetween(first_, latest_);
  if (summary.seconds > 0) {
    summary.framesPerSecond = static_cast<double>(summary.frames - 1) / summary.seconds;
  }
  summary.dropped = continuous_ ? DroppedByTimeCode() : DroppedByArrival();
  return summary;
}

unsigned long FrameLog::DroppedByTimeCode() const {
  const unsigned long spanned =
      summary_.lastTimeCode->mCounter - summary_.firstTimeCode->mCounter + 1ul;
  return spanned - summary_.frames;
}

unsigned long FrameLog::DroppedByArrival() const {
  const double interval = UsualInterval(intervals_);
  if (!(interval > 0)) return 0;
  const double expected = std::round(SecondsBetween(first_, latest_) / interval) + 1;
  return static_cast<unsigned long>(std::max(0.0, expected - static_cast<double>(summary_.frames)));
}
