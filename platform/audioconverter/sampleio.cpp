// SPDX-License-Identifier: MIT
// The loops here are written for a compiler that turns them into vector code: no branches, no
// strides but constant ones where it matters, rounding without a library call.
#include "platform/audioconverter/sampleio.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "platform/audioconverter/vectorcode.h"

namespace {

constexpr bool kHostIsBigEndian = std::endian::native == std::endian::big;

template <class Word>
ZORVEX_INLINE Word Swapped(Word word) {
  if constexpr (sizeof(Word) == 2) return __builtin_bswap16(word);
  if constexpr (sizeof(Word) == 4) return __builtin_bswap32(word);
  if constexpr (sizeof(Word) == 8) return __builtin_bswap64(word);
  return word;
}

template <class Word, bool kBigEndian>
ZORVEX_INLINE Word LoadWord(const std::byte* source) {
  Word word;
  std::memcpy(&word, source, sizeof word);
  return kBigEndian == kHostIsBigEndian ? word : Swapped(word);
}

template <class Word, bool kBigEndian>
ZORVEX_INLINE void StoreWord(Word word, std::byte* destination) {
  if (kBigEndian != kHostIsBigEndian) word = Swapped(word);
  std::memcpy(destination, &word, sizeof word);
}

template <unsigned kBytes>
using WordOf = std::conditional_t<
    kBytes == 1, std::uint8_t,
    std::conditional_t<kBytes == 2, std::uint16_t,
                       std::conditional_t<kBytes == 4, std::uint32_t, std::uint64_t>>>;

template <unsigned kBytes, bool kBigEndian>
ZORVEX_INLINE std::uint32_t LoadInteger(const std::byte* source) {
  if constexpr (kBytes == 3) {
    const auto low = std::to_integer<std::uint32_t>(source[kBigEndian ? 2 : 0]);
    const auto middle = std::to_integer<std::uint32_t>(source[1]);
    const auto high = std::to_integer<std::uint32_t>(source[kBigEndian ? 0 : 2]);
    return low | middle << 8 | high << 16;
  } else {
    return LoadWord<WordOf<kBytes>, kBigEndian>(source);
  }
}

template <unsigned kBytes, bool kBigEndian>
ZORVEX_INLINE void StoreInteger(std::uint32_t value, std::byte* destination) {
  if constexpr (kBytes == 3) {
    destination[kBigEndian ? 2 : 0] = static_cast<std::byte>(value);
    destination[1] = static_cast<std::byte>(value >> 8);
    destination[kBigEndian ? 0 : 2] = static_cast<std::byte>(value >> 16);
  } else {
    StoreWord<WordOf<kBytes>, kBigEndian>(static_cast<WordOf<kBytes>>(value), destination);
  }
}

template <class Sample>
ZORVEX_INLINE Sample FromLifted(std::uint32_t lifted, const IntegerLayout& layout) {
  constexpr Sample kScale = Sample{1} / Sample{2147483648};
  return static_cast<Sample>(static_cast<std::int32_t>((lifted & layout.mask) ^ layout.flip)) *
         kScale;
}

/// The comparisons are written so that each is one instruction and a NaN fails them.
template <class Sample>
ZORVEX_INLINE Sample Clamped(Sample value, Sample least, Sample most) {
  const Sample raised = value > least ? value : least;
  return raised < most ? raised : most;
}

/// What is added to a number and taken off again leaves it rounded to the nearest whole one.
template <class Sample>
constexpr Sample kRounding =
    std::is_same_v<Sample, float> ? Sample{8388608} : Sample{4503599627370496};

template <class Sample>
ZORVEX_INLINE std::int32_t ToInteger(Sample value, Sample scale) {
  const Sample scaled = Clamped(value * scale, -scale, scale - 1);
  const Sample rounding = std::copysign(kRounding<Sample>, scaled);
  return static_cast<std::int32_t>((scaled + rounding) - rounding);
}

template <class Sample>
ZORVEX_INLINE Sample ScaleOf(const IntegerLayout& layout) {
  return static_cast<Sample>(std::uint32_t{1} << (layout.bits - 1));
}

/// Added to a signed sample: the middle of the range of unsigned ones.
ZORVEX_INLINE std::uint32_t OffsetOf(const IntegerLayout& layout) {
  return layout.flip == 0 ? 0 : std::uint32_t{1} << (layout.bits - 1);
}

template <class Sample>
ZORVEX_INLINE std::uint32_t ToStored(Sample value, Sample scale, std::uint32_t offset,
                                     unsigned padding) {
  return (static_cast<std::uint32_t>(ToInteger(value, scale)) + offset) << padding;
}

template <class Sample, unsigned kBytes, bool kBigEndian>
struct Integers {
  ZORVEX_INLINE static void Read(const IntegerLayout& given, const std::byte* source,
                                 std::size_t stride, std::size_t samples, Sample* __restrict row) {
    const IntegerLayout layout = given;
    if (stride == kBytes) {
      for (std::size_t i = 0; i < samples; ++i) {
        row[i] = FromLifted<Sample>(
            LoadInteger<kBytes, kBigEndian>(source + i * kBytes) << layout.lift, layout);
      }
      return;
    }
    for (std::size_t i = 0; i < samples; ++i) {
      row[i] = FromLifted<Sample>(
          LoadInteger<kBytes, kBigEndian>(source + i * stride) << layout.lift, layout);
    }
  }

  ZORVEX_INLINE static void Write(const IntegerLayout& given, const Sample* __restrict row,
                                  std::size_t samples, std::byte* destination, std::size_t stride) {
    const unsigned padding = given.padding;
    const Sample scale = ScaleOf<Sample>(given);
    const std::uint32_t offset = OffsetOf(given);
    if (stride == kBytes) {
      for (std::size_t i = 0; i < samples; ++i) {
        StoreInteger<kBytes, kBigEndian>(ToStored(row[i], scale, offset, padding),
                                         destination + i * kBytes);
      }
      return;
    }
    for (std::size_t i = 0; i < samples; ++i) {
      StoreInteger<kBytes, kBigEndian>(ToStored(row[i], scale, offset, padding),
                                       destination + i * stride);
    }
  }
};

template <class Sample, class Stored, bool kBigEndian>
struct Floats {
  using Word = WordOf<sizeof(Stored)>;
  static constexpr Stored kLoudest = 1099511627776.0;

  ZORVEX_INLINE static Sample Load(const std::byte* source) {
    // A NaN is told by its bits: its comparisons keep the compiler from making vector code.
    constexpr auto kInfinity = std::bit_cast<Word>(std::numeric_limits<Stored>::infinity());
    constexpr Word kMagnitude = ~Word{0} >> 1;
    const Word word = LoadWord<Word, kBigEndian>(source);
    const auto value = std::bit_cast<Stored>((word & kMagnitude) > kInfinity ? Word{0} : word);
    return static_cast<Sample>(Clamped(value, -kLoudest, kLoudest));
  }

  ZORVEX_INLINE static void Read(const IntegerLayout&, const std::byte* source, std::size_t stride,
                                 std::size_t samples, Sample* __restrict row) {
    if (stride == sizeof(Stored)) {
      for (std::size_t i = 0; i < samples; ++i)
        row[i] = Load(source + i * sizeof(Stored));
      return;
    }
    for (std::size_t i = 0; i < samples; ++i)
      row[i] = Load(source + i * stride);
  }

  ZORVEX_INLINE static void Write(const IntegerLayout&, const Sample* __restrict row,
                                  std::size_t samples, std::byte* destination, std::size_t stride) {
    for (std::size_t i = 0; i < samples; ++i) {
      StoreWord<Word, kBigEndian>(std::bit_cast<Word>(static_cast<Stored>(row[i])),
                                  destination + i * stride);
    }
  }
};

/// Pairs of floats in the order of this host. In vectors by hand: what the compiler makes of a loop
/// that takes every second sample is half as fast.
template <class Sample>
struct FloatPairs {
  using One = Floats<Sample, float, kHostIsBigEndian>;

  ZORVEX_INLINE static void ReadPair(const IntegerLayout&, const std::byte* source,
                                     std::size_t frames, Sample* __restrict left,
                                     Sample* __restrict right) {
    std::size_t i = 0;
    if constexpr (std::is_same_v<Sample, float>) {
      for (; i + kLanes<float> <= frames; i += kLanes<float>) {
        Vector<float> first;
        Vector<float> second;
        LoadSound(first, source + i * 8);
        LoadSound(second, source + i * 8 + sizeof first);
        Store<float>(__builtin_shufflevector(first, second, 0, 2, 4, 6, 8, 10, 12, 14), left + i);
        Store<float>(__builtin_shufflevector(first, second, 1, 3, 5, 7, 9, 11, 13, 15), right + i);
      }
    }
    for (; i < frames; ++i) {
      left[i] = One::Load(source + i * 8);
      right[i] = One::Load(source + i * 8 + 4);
    }
  }

 private:
  /// The same as One::Load. A NaN alone is not even up to infinity.
  ZORVEX_INLINE static void LoadSound(Vector<float>& vector, const std::byte* source) {
    constexpr float kLoudest = One::kLoudest;
    std::memcpy(&vector, source, sizeof vector);
    vector = vector <= std::numeric_limits<float>::infinity() ? vector : Vector<float>{};
    vector = vector > -kLoudest ? vector : Vector<float>{} - kLoudest;
    vector = vector < kLoudest ? vector : Vector<float>{} + kLoudest;
  }
};

/// Two samples of 16 bits in the order of this host, as one word.
template <class Sample>
struct ShortPairs {
  ZORVEX_INLINE static void ReadPair(const IntegerLayout& given, const std::byte* source,
                                     std::size_t frames, Sample* __restrict left,
                                     Sample* __restrict right) {
    const IntegerLayout layout = given;
    const unsigned lift = layout.lift - 16;
    for (std::size_t i = 0; i < frames; ++i) {
      const auto word = LoadWord<std::uint32_t, kHostIsBigEndian>(source + i * 4);
      const std::uint32_t low = word << 16;
      const std::uint32_t high = word & 0xFFFF0000;
      left[i] = FromLifted<Sample>((kHostIsBigEndian ? high : low) << lift, layout);
      right[i] = FromLifted<Sample>((kHostIsBigEndian ? low : high) << lift, layout);
    }
  }

  ZORVEX_INLINE static void WritePair(const IntegerLayout& given, const Sample* __restrict left,
                                      const Sample* __restrict right, std::size_t frames,
                                      std::byte* destination) {
    const unsigned padding = given.padding;
    const Sample scale = ScaleOf<Sample>(given);
    const std::uint32_t offset = OffsetOf(given);
    for (std::size_t i = 0; i < frames; ++i) {
      const std::uint32_t first = ToStored(left[i], scale, offset, padding);
      const std::uint32_t second = ToStored(right[i], scale, offset, padding);
      const std::uint32_t word =
          kHostIsBigEndian ? first << 16 | (second & 0xFFFF) : second << 16 | (first & 0xFFFF);
      StoreWord<std::uint32_t, kHostIsBigEndian>(word, destination + i * 4);
    }
  }
};

IntegerLayout LayoutOf(const PcmFormat& format) {
  if (format.isFloat) return {};
  IntegerLayout layout{};
  layout.bits = format.bits;
  layout.padding = format.padding;
  layout.lift = 32 - format.bits - format.padding;
  layout.mask = ~std::uint32_t{0} << (32 - format.bits);
  layout.flip = format.isSigned ? 0 : std::uint32_t{1} << 31;
  return layout;
}

/// Calls `use` with the code for the samples of `format`.
template <class Sample, class Use>
void WithCodeFor(const PcmFormat& format, Use use) {
  const bool big = format.isBigEndian;
  if (format.isFloat) {
    if (format.sampleBytes == 4) {
      big ? use(Floats<Sample, float, true>()) : use(Floats<Sample, float, false>());
    } else {
      big ? use(Floats<Sample, double, true>()) : use(Floats<Sample, double, false>());
    }
    return;
  }
  switch (format.sampleBytes) {
    case 1:
      return use(Integers<Sample, 1, false>());
    case 2:
      return big ? use(Integers<Sample, 2, true>()) : use(Integers<Sample, 2, false>());
    case 3:
      return big ? use(Integers<Sample, 3, true>()) : use(Integers<Sample, 3, false>());
    default:
      return big ? use(Integers<Sample, 4, true>()) : use(Integers<Sample, 4, false>());
  }
}

bool IsNativePair(const PcmFormat& format, bool isFloat, unsigned sampleBytes) {
  return format.channels == 2 && format.isInterleaved && format.isFloat == isFloat &&
         format.sampleBytes == sampleBytes && format.isBigEndian == kHostIsBigEndian;
}

}  // namespace

template <class Sample>
SampleReader<Sample>::SampleReader(const PcmFormat& format)
    : channels_(format.channels),
      sampleBytes_(format.sampleBytes),
      isInterleaved_(format.isInterleaved),
      layout_(LayoutOf(format)),
      pair_(nullptr) {
  WithCodeFor<Sample>(format, [this](auto code) { one_ = BestBuild<decltype(code)::Read>(); });
  if (IsNativePair(format, false, 2)) pair_ = BestBuild<ShortPairs<Sample>::ReadPair>();
  if (IsNativePair(format, true, 4)) {
    pair_ = BestBuild<FloatPairs<Sample>::ReadPair>();
  }
}

template <class Sample>
void SampleReader<Sample>::Read(const std::byte* const* buffers, std::size_t frames,
                                Sample* const* rows) const {
  if (pair_) return pair_(layout_, buffers[0], frames, rows[0], rows[1]);
  for (std::size_t channel = 0; channel < channels_; ++channel) {
    if (isInterleaved_) {
      one_(layout_, buffers[0] + channel * sampleBytes_, channels_ * sampleBytes_, frames,
           rows[channel]);
    } else {
      one_(layout_, buffers[channel], sampleBytes_, frames, rows[channel]);
    }
  }
}

template <class Sample>
SampleWriter<Sample>::SampleWriter(const PcmFormat& format)
    : channels_(format.channels),
      sampleBytes_(format.sampleBytes),
      layout_(LayoutOf(format)),
      pair_(nullptr) {
  WithCodeFor<Sample>(format, [this](auto code) { one_ = BestBuild<decltype(code)::Write>(); });
  if (IsNativePair(format, false, 2)) pair_ = BestBuild<ShortPairs<Sample>::WritePair>();
}

template <class Sample>
void SampleWriter<Sample>::Write(const Sample* const* rows, std::size_t frames,
                                 std::byte* destination) const {
  if (pair_) return pair_(layout_, rows[0], rows[1], frames, destination);
  for (std::size_t channel = 0; channel < channels_; ++channel) {
    one_(layout_, rows[channel], frames, destination + channel * sampleBytes_,
         channels_ * sampleBytes_);
  }
}

template class SampleReader<float>;
template class SampleReader<double>;
template class SampleWriter<float>;
template class SampleWriter<double>;
