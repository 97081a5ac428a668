// SPDX-License-Identifier: MIT
#include "tools/soundlog.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

template <class Value>
double Scaled(const unsigned char* sample) {
  Value value;
  std::memcpy(&value, sample, sizeof value);
  if constexpr (std::is_floating_point_v<Value>) {
    return std::isfinite(value) ? static_cast<double>(value) : 0;
  } else {
    return static_cast<double>(value) / -static_cast<double>(std::numeric_limits<Value>::min());
  }
}

double Scaled24(const unsigned char* sample) {
  const auto value = static_cast<std::int32_t>(static_cast<std::uint32_t>(sample[0]) << 8 |
                                               static_cast<std::uint32_t>(sample[1]) << 16 |
                                               static_cast<std::uint32_t>(sample[2]) << 24);
  return static_cast<double>(value) / 0x1p31;
}

}  // namespace

void SoundLog::Add(const unsigned char* samples, const AudioFormat& format, unsigned long frames,
                   CaptureClock::time_point now) {
  if (frames_ == 0) {
    format_ = format;
    first_ = now;
  }
  NoteArrival(now);
  switch (format.bytesPerSample) {
    case 1:
      Measure(samples, frames, Scaled<std::int8_t>);
      break;
    case 2:
      Measure(samples, frames, Scaled<std::int16_t>);
      break;
    case 3:
      Measure(samples, frames, Scaled24);
      break;
    case 4:
      Measure(samples, frames, format.IsFloat() ? Scaled<float> : Scaled<std::int32_t>);
      break;
    default:
      Measure(samples, frames, Scaled<double>);
  }
  frames_ += frames;
  latest_ = now;
}

template <class Read>
void SoundLog::Measure(const unsigned char* samples, unsigned long frames, Read read) {
  const unsigned long meterFrames = format_.sampleRate * 3 / 10;
  const std::size_t channels = std::min(format_.channels, kMostChannels);
  for (unsigned long i = 0; i < frames; ++i) {
    const unsigned char* sample = samples + i * format_.BytesPerFrame();
    for (std::size_t channel = 0; channel < channels; ++channel) {
      const double value = std::abs(read(sample));
      for (Window* const window : {&all_, &current_}) {
        Loudness& loudness = window->channels[channel];
        loudness.peak = std::max(loudness.peak, value);
        loudness.squares += value * value;
      }
      sample += format_.bytesPerSample;
    }
    ++all_.frames;
    if (++current_.frames < meterFrames) continue;
    shown_ = current_;
    current_ = {};
  }
}

void SoundLog::NoteArrival(CaptureClock::time_point now) {
  constexpr unsigned groupSize = 16;
  constexpr double leastStep = 0.015;  // more than clocks drift apart in the time of a group
  const double delay = SecondsBetween(first_, now) - Seconds();
  leastDelay_ = arrivals_ == 0 ? delay : std::min(leastDelay_, delay);
  if (++arrivals_ < groupSize) return;
  const double step = leastDelay_ - delay_;
  // Sound that comes back to its old schedule was late, not lost.
  if (std::abs(step) > leastStep) missing_ = std::max(0.0, missing_ + step);
  delay_ = leastDelay_;
  arrivals_ = 0;
}

double SoundLog::Seconds() const {
  if (frames_ == 0) return 0;
  return static_cast<double>(frames_) / static_cast<double>(format_.sampleRate);
}

std::vector<Level> SoundLog::Levels(const Window& window) const {
  std::vector<Level> levels(std::min(format_.channels, kMostChannels));
  if (window.frames == 0) return levels;
  for (std::size_t i = 0; i < levels.size(); ++i) {
    const auto [peak, squares] = window.channels[i];
    levels[i] = {20 * std::log10(peak),
                 10 * std::log10(squares / static_cast<double>(window.frames))};
  }
  return levels;
}

std::vector<Level> SoundLog::MeterLevels() const {
  return Levels(shown_.frames == 0 ? current_ : shown_);
}

SoundSummary SoundLog::Summary() const {
  const auto missing =
      static_cast<unsigned long>(std::lround(missing_ * static_cast<double>(format_.sampleRate)));
  return {format_, frames_, Seconds(), Levels(all_), lost_ + missing};
}
