// SPDX-License-Identifier: MIT
#include "platform/simulated/tapecounter.h"

#include <gst/gst.h>

namespace {

constexpr FrameRate kDropFrameRates[] = {{30000, 1001}, {60000, 1001}};

std::uint32_t CountedPerSecond(FrameRate rate) {
  return static_cast<std::uint32_t>((rate.numerator + rate.denominator - 1) / rate.denominator);
}

}  // namespace

std::uint64_t TimeOfFrames(FrameRate rate, std::uint64_t index) {
  return gst_util_uint64_scale(index, GST_SECOND * static_cast<guint64>(rate.denominator),
                               static_cast<guint64>(rate.numerator));
}

std::uint64_t FramesInTime(FrameRate rate, std::uint64_t time) {
  const std::uint64_t frames =
      gst_util_uint64_scale(time, static_cast<guint64>(rate.numerator),
                            GST_SECOND * static_cast<guint64>(rate.denominator));
  // At the very time of a frame, which is rounded down, the division gives the one before.
  return TimeOfFrames(rate, frames + 1) <= time ? frames + 1 : frames;
}

TapeCounter::TapeCounter(FrameRate rate, bool dropFrame)
    : framesPerSecond_(CountedPerSecond(rate)),
      dropped_(dropFrame ? framesPerSecond_ / 15 : 0),
      framesPerMinute_(60 * framesPerSecond_ - dropped_),
      framesPerTenMinutes_(600 * framesPerSecond_ - 9 * dropped_) {}

bool TapeCounter::Supports(FrameRate rate, bool dropFrame) {
  for (const FrameRate& candidate : kDropFrameRates) {
    if (rate == candidate) return true;
  }
  if (dropFrame) return false;
  return rate == FrameRate{24000, 1001} || (rate.denominator == 1 && rate.numerator <= 60);
}

std::optional<std::uint32_t> TapeCounter::FrameAt(const TapeTime& time) const {
  const auto within = [](int value, std::uint32_t limit) {
    return value >= 0 && static_cast<std::uint32_t>(value) < limit;
  };
  if (!within(time.hours, 24) || !within(time.minutes, 60) || !within(time.seconds, 60) ||
      !within(time.frames, framesPerSecond_)) {
    return std::nullopt;
  }
  const auto frames = static_cast<std::uint32_t>(time.frames);
  const auto minutes = static_cast<std::uint32_t>(60 * time.hours + time.minutes);
  if (minutes % 10 != 0 && time.seconds == 0 && frames < dropped_) return std::nullopt;
  const std::uint32_t counted =
      (60 * minutes + static_cast<std::uint32_t>(time.seconds)) * framesPerSecond_ + frames;
  return counted - dropped_ * (minutes - minutes / 10);
}

TapeTime TapeCounter::TimeAt(std::uint64_t frame) const {
  const auto ofDay = static_cast<std::uint32_t>(frame % FramesPerDay());
  const std::uint32_t tens = ofDay / framesPerTenMinutes_;
  const std::uint32_t rest = ofDay % framesPerTenMinutes_;
  // The first minute of ten leaves nothing out and is longer by that.
  const std::uint32_t minutesBegun = rest < dropped_ ? 0 : (rest - dropped_) / framesPerMinute_;
  const std::uint32_t counted = ofDay + dropped_ * (9 * tens + minutesBegun);
  const std::uint32_t seconds = counted / framesPerSecond_;
  return TapeTime{.hours = static_cast<int>(seconds / 3600),
                  .minutes = static_cast<int>(seconds / 60 % 60),
                  .seconds = static_cast<int>(seconds % 60),
                  .frames = static_cast<int>(counted % framesPerSecond_)};
}
