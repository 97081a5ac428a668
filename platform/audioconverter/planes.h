// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_PLANES_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_PLANES_H

#include <cstddef>
#include <vector>

/// Sound on its way through the converter: one row of samples for each channel, full scale at 1.
template <class Sample>
class Planes {
 public:
  Planes(std::size_t channels, std::size_t frames)
      : frames_(frames), samples_(channels * frames), rows_(channels) {
    for (std::size_t channel = 0; channel < channels; ++channel) {
      rows_[channel] = samples_.data() + channel * frames;
    }
  }
  Planes(const Planes&) = delete;
  Planes& operator=(const Planes&) = delete;

  std::size_t Channels() const { return rows_.size(); }
  std::size_t Frames() const { return frames_; }
  Sample* const* Rows() const { return rows_.data(); }
  Sample* Row(std::size_t channel) const { return rows_[channel]; }

 private:
  std::size_t frames_;
  std::vector<Sample> samples_;
  std::vector<Sample*> rows_;
};

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_PLANES_H
