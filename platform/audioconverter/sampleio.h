// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_SAMPLEIO_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_SAMPLEIO_H

#include <cstddef>
#include <cstdint>

#include "platform/audioconverter/pcmformat.h"

/// How the bits of an integer sample stand in its bytes.
struct IntegerLayout {
  unsigned lift;       ///< brings the highest bit of the sample to bit 31
  unsigned bits;       ///< of the sample
  unsigned padding;    ///< unused bits below it
  std::uint32_t mask;  ///< the bits of the sample after lifting
  std::uint32_t flip;  ///< makes signed of unsigned after lifting
};

/// Reads samples in the layout of a format. Integers become -1 up to just below 1. Floats stay as
/// they are, but for what would spoil its neighbours in a filter: a NaN is read as 0, and what is
/// louder than 2^40 times full scale, infinity too, as that.
template <class Sample>
class SampleReader {
 public:
  explicit SampleReader(const PcmFormat& format);

  /// From `frames` frames at the place of each buffer into one row for each channel.
  void Read(const std::byte* const* buffers, std::size_t frames, Sample* const* rows) const;
  /// From `samples` samples that stand side by side.
  void ReadFlat(const std::byte* source, std::size_t samples, Sample* row) const {
    one_(layout_, source, sampleBytes_, samples, row);
  }

 private:
  using One = void (*)(const IntegerLayout&, const std::byte* source, std::size_t stride,
                       std::size_t samples, Sample* row);
  using Pair = void (*)(const IntegerLayout&, const std::byte* source, std::size_t frames,
                        Sample* left, Sample* right);

  std::size_t channels_;
  std::size_t sampleBytes_;
  bool isInterleaved_;
  IntegerLayout layout_;
  One one_;
  Pair pair_;  ///< null where there is no quick way for two interleaved channels
};

/// Writes interleaved samples in the layout of a format. Integers are rounded to the nearest, even
/// ones in the middle, without dither, and saturate; bits that the sample does not use are copies
/// of its sign above it and 0 below.
template <class Sample>
class SampleWriter {
 public:
  explicit SampleWriter(const PcmFormat& format);

  void Write(const Sample* const* rows, std::size_t frames, std::byte* destination) const;
  void WriteFlat(const Sample* row, std::size_t samples, std::byte* destination) const {
    one_(layout_, row, samples, destination, sampleBytes_);
  }

 private:
  using One = void (*)(const IntegerLayout&, const Sample* row, std::size_t samples,
                       std::byte* destination, std::size_t stride);
  using Pair = void (*)(const IntegerLayout&, const Sample* left, const Sample* right,
                        std::size_t frames, std::byte* destination);

  std::size_t channels_;
  std::size_t sampleBytes_;
  IntegerLayout layout_;
  One one_;
  Pair pair_;
};

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_SAMPLEIO_H
