// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "platform/audioconverter/linearpcmconverter.h"
#include "tests/support/allocations.h"

namespace {

using Bytes = std::vector<std::byte>;
using Description = AudioStreamBasicDescription;

enum : std::uint32_t {
  kFloat = kAudioFormatFlagIsFloat,
  kBig = kAudioFormatFlagIsBigEndian,
  kSigned = kAudioFormatFlagIsSignedInteger,
  kPacked = kAudioFormatFlagIsPacked,
  kHigh = kAudioFormatFlagIsAlignedHigh,
  kPlanar = kAudioFormatFlagIsNonInterleaved,
};

Description Format(double rate, std::uint32_t flags, std::uint32_t channels, std::uint32_t bytes,
                   std::uint32_t bits) {
  const std::uint32_t frame = bytes * (flags & kPlanar ? 1 : channels);
  return {rate, kAudioFormatLinearPCM, flags, frame, 1, frame, channels, bits, 0};
}
Description Floats(double rate, std::uint32_t channels = 1) {
  return Format(rate, kFloat | kPacked, channels, 4, 32);
}
Description Shorts(double rate, std::uint32_t channels = 1) {
  return Format(rate, kSigned | kPacked, channels, 2, 16);
}

std::unique_ptr<OpaqueAudioConverter> Converter(const Description& from, const Description& to) {
  AudioConverterRef converter = nullptr;
  const OSStatus status = NewLinearPcmConverter(from, to, &converter);
  EXPECT_EQ(status == noErr, converter != nullptr);
  return std::unique_ptr<OpaqueAudioConverter>(converter);
}

/// Hands out bytes: one buffer's worth for each channel of a planar format, behind one another.
struct Source {
  const Bytes& bytes;
  std::uint32_t frameBytes;
  std::uint32_t buffers = 1;
  std::uint32_t most = ~0u;  ///< packets at once
  OSStatus atEnd = noErr;
  /// Where data stands until the next call only, as much at once as it likes; else it stays.
  Bytes* passing = nullptr;
  std::size_t used = 0;

  static OSStatus Pull(AudioConverterRef, std::uint32_t* packets, AudioBufferList* list,
                       AudioStreamPacketDescription**, void* data) {
    auto& source = *static_cast<Source*>(data);
    const std::size_t each = source.bytes.size() / source.buffers;
    const auto left = static_cast<std::uint32_t>((each - source.used) / source.frameBytes);
    *packets = std::min({source.passing ? left : *packets, left, source.most});
    EXPECT_EQ(list->mNumberBuffers, source.buffers);
    const std::uint32_t size = *packets * source.frameBytes;
    for (std::uint32_t i = 0; i < source.buffers; ++i) {
      const std::byte* begin = source.bytes.data() + i * each + source.used;
      if (source.passing) begin = std::copy_n(begin, size, &source.passing->at(i * each)) - size;
      list->mBuffers[i].mData = const_cast<std::byte*>(begin);
      list->mBuffers[i].mDataByteSize = size;
    }
    source.used += std::size_t{*packets} * source.frameBytes;
    return *packets > 0 ? noErr : source.atEnd;
  }
};

/// Fills up to `room` packets behind `output`, and checks what the call reports.
OSStatus Fill(OpaqueAudioConverter& converter, Source& source, const Description& to,
              std::uint32_t room, Bytes& output) {
  const std::size_t before = output.size();
  output.resize(before + std::size_t{room} * to.mBytesPerPacket + 1, std::byte{0xA5});
  AudioBufferList list{1,
                       {{to.mChannelsPerFrame, room * to.mBytesPerPacket, output.data() + before}}};
  std::uint32_t packets = room;
  const OSStatus status =
      converter.FillComplexBuffer(Source::Pull, &source, &packets, &list, nullptr);
  if (source.passing) std::ranges::fill(*source.passing, std::byte{0x55});
  EXPECT_EQ(list.mBuffers[0].mDataByteSize, packets * to.mBytesPerPacket);
  EXPECT_EQ(output.back(), std::byte{0xA5});
  output.resize(before + std::size_t{packets} * to.mBytesPerPacket);
  return status;
}

/// All of the input in one call.
Bytes Convert(OpaqueAudioConverter& converter, const Description& from, const Description& to,
              const Bytes& input) {
  Source source{input, from.mBytesPerFrame,
                from.mFormatFlags & kPlanar ? from.mChannelsPerFrame : 1};
  Bytes output;
  const double ratio = to.mSampleRate / from.mSampleRate;
  const double frames = static_cast<double>(input.size()) / from.mBytesPerFrame;
  EXPECT_EQ(Fill(converter, source, to, static_cast<std::uint32_t>(frames * ratio) + 100, output),
            noErr);
  converter.Reset();
  return output;
}

template <class Sample>
Bytes BytesOf(const std::vector<Sample>& samples) {
  Bytes bytes(samples.size() * sizeof(Sample));
  if (!bytes.empty()) std::memcpy(bytes.data(), samples.data(), bytes.size());
  return bytes;
}
template <class Sample>
std::vector<Sample> SamplesOf(const Bytes& bytes) {
  std::vector<Sample> samples(bytes.size() / sizeof(Sample));
  if (!samples.empty()) {
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(Sample));
  }
  return samples;
}

/// The slow and obvious reading of one sample, 1 being full scale.
double Decode(const Description& format, std::uint32_t bytes, const std::byte* at) {
  std::uint64_t raw = 0;
  for (std::uint32_t i = 0; i < bytes; ++i) {
    const std::uint32_t place = format.mFormatFlags & kBig ? bytes - 1 - i : i;
    raw |= std::to_integer<std::uint64_t>(at[i]) << (8 * place);
  }
  const std::uint32_t bits = format.mBitsPerChannel;
  if (format.mFormatFlags & kFloat) {
    const double value =
        bytes == 4 ? static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(raw)))
                   : std::bit_cast<double>(raw);
    return std::isnan(value) ? 0 : std::clamp(value, -std::ldexp(1.0, 40), std::ldexp(1.0, 40));
  }
  if (format.mFormatFlags & kHigh) raw >>= 8 * bytes - bits;
  raw &= (std::uint64_t{1} << bits) - 1;
  auto value = static_cast<double>(raw);
  const double half = std::ldexp(1.0, static_cast<int>(bits) - 1);
  if (!(format.mFormatFlags & kSigned)) return (value - half) / half;
  return (value >= half ? value - 2 * half : value) / half;
}

/// What a format makes of a value: the nearest that it has.
double Quantised(const Description& format, double value) {
  if (format.mFormatFlags & kFloat) {
    return format.mBitsPerChannel == 32 ? static_cast<double>(static_cast<float>(value)) : value;
  }
  const double half = std::ldexp(1.0, static_cast<int>(format.mBitsPerChannel) - 1);
  return std::clamp(std::nearbyint(value * half), -half, half - 1) / half;
}

/// Whether the description makes sense, straight from what its fields mean.
bool IsPossible(const Description& format, std::uint32_t bytes, bool isOutput) {
  const bool fills = format.mBitsPerChannel == bytes * 8;
  if (format.mFormatFlags >= 64) return false;
  if (isOutput && (format.mFormatFlags & kPlanar) && format.mChannelsPerFrame > 1) return false;
  if (format.mFormatFlags & kFloat) return fills && (bytes == 4 || bytes == 8);
  return bytes >= 1 && bytes <= 4 && format.mBitsPerChannel >= 1 &&
         format.mBitsPerChannel <= bytes * 8 && (fills || !(format.mFormatFlags & kPacked));
}

Bytes Noise(std::size_t size) {
  static std::mt19937 generator(7);
  Bytes bytes(size);
  for (std::byte& byte : bytes)
    byte = static_cast<std::byte>(generator());
  return bytes;
}

std::vector<std::uint32_t> AllFlags() {
  std::vector<std::uint32_t> all;
  for (std::uint32_t flags = 0; flags < 64; ++flags)
    all.push_back(flags);
  for (std::uint32_t bit = 6; bit < 32; ++bit)
    all.push_back(kSigned | kPacked | 1u << bit);
  return all;
}

/// To floats of three channels and back, sample by sample; a third channel is silent or left out.
void CheckFormat(const Description& format, std::uint32_t bytes, const Description& floats) {
  constexpr std::size_t kFrames = 40;
  const std::size_t channels = format.mChannelsPerFrame;
  const auto reader = Converter(format, floats);
  const auto writer = Converter(floats, format);
  ASSERT_EQ(reader != nullptr, IsPossible(format, bytes, false));
  ASSERT_EQ(writer != nullptr, IsPossible(format, bytes, true));
  if (!reader) return;
  const Bytes input = Noise(kFrames * channels * bytes);
  const Bytes read = Convert(*reader, format, floats, input);
  const std::uint32_t size = floats.mBytesPerFrame / 3;
  ASSERT_EQ(read.size(), 3 * kFrames * size);
  Bytes values = read;
  for (std::size_t i = 0; i < 3 * kFrames; ++i) {
    const std::size_t channel = i % 3;
    const std::size_t place =
        format.mFormatFlags & kPlanar ? channel * kFrames + i / 3 : i / 3 * channels + channel;
    const double expected =
        channel < channels ? Decode(format, bytes, input.data() + place * bytes) : 0;
    const double value = Decode(floats, size, read.data() + i * size);
    ASSERT_EQ(value, Quantised(floats, expected)) << i;
    const double changed = value * 0.7312 + 0.3;  // to be rounded, and too loud here and there
    const auto narrow = static_cast<float>(changed);
    if (i % 2 == 0)
      std::memcpy(&values[i * size], size == 8 ? static_cast<const void*>(&changed) : &narrow,
                  size);
  }
  if (!writer) return;
  const Bytes written = Convert(*writer, floats, format, values);
  ASSERT_EQ(written.size(), input.size());
  for (std::size_t i = 0; i < kFrames * channels; ++i) {
    const std::size_t place = i / channels * 3 + i % channels;
    const double value = Decode(floats, size, values.data() + place * size);
    ASSERT_EQ(Decode(format, bytes, written.data() + i * bytes), Quantised(format, value)) << i;
  }
}

TEST(AudioConverter, EveryFormatWorksAsItsFieldsSayOrIsRefused) {
  for (const std::uint32_t flags : AllFlags()) {
    for (std::uint32_t bytes = 0; bytes <= 9; ++bytes) {
      for (const std::uint32_t bits :
           {0u, 1u, 7u, 8u, 12u, 16u, 20u, 24u, 25u, 31u, 32u, 64u, 65u}) {
        SCOPED_TRACE(testing::Message() << flags << " flags, " << bytes << " bytes, " << bits);
        CheckFormat(Format(48000, flags, 3, bytes, bits), bytes,
                    Format(48000, kFloat | kPacked, 3, 8, 64));
        CheckFormat(Format(48000, flags, 2, bytes, bits), bytes, Floats(48000, 3));
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(AudioConverter, RefusesDescriptionsThatContradictThemselvesAndAbsurdRates) {
  const auto isRefused = [](auto change) {
    Description broken = Shorts(48000, 2);
    change(broken);
    return !Converter(broken, Shorts(44100, 2)) && !Converter(Shorts(44100, 2), broken);
  };
  for (const double rate : {0.0, -48000.0, 0.5, 1e7, 1e300, std::nan(""),
                            std::numeric_limits<double>::infinity(), 44100.0 / 1025}) {
    EXPECT_TRUE(isRefused([&](Description& format) { format.mSampleRate = rate; })) << rate;
  }
  for (const std::uint32_t value : {0u, 3u, 65u, 0x40000001u, ~0u}) {
    for (const auto field : {&Description::mFormatID, &Description::mBytesPerPacket,
                             &Description::mFramesPerPacket, &Description::mBytesPerFrame,
                             &Description::mChannelsPerFrame, &Description::mBitsPerChannel}) {
      EXPECT_TRUE(isRefused([&](Description& format) { format.*field = value; })) << value;
    }
  }
}

TEST(AudioConverter, MixesChannels) {
  constexpr float kThree = std::numbers::sqrt2_v<float> / 2;
  const std::vector<float> in = {0.1f, 0.2f, 0.4f, 0.8f, -0.3f, -0.6f, 0.5f, 0.7f};
  const float left6 = (in[0] + kThree * (in[2] + in[4])) / (1 + 2 * kThree);
  const float right6 = (in[1] + kThree * (in[2] + in[5])) / (1 + 2 * kThree);
  const float left8 = (in[0] + kThree * (in[2] + in[4] + in[6])) / (1 + 3 * kThree);
  const float right8 = (in[1] + kThree * (in[2] + in[5] + in[7])) / (1 + 3 * kThree);
  const struct {
    std::uint32_t from;
    std::vector<float> expected;
  } rows[] = {
      {1, {0.1f, 0.1f}},           {1, {0.1f, 0.1f, 0}},       {2, {(in[0] + in[1]) / 2}},
      {6, {left6, right6}},        {8, {left8, right8}},       {6, {(left6 + right6) / 2}},
      {8, {(left8 + right8) / 2}}, {3, {in[0], in[1]}},        {4, {in[0]}},
      {2, {in[0], in[1], 0, 0}},   {3, {in[0], in[1], in[2]}},
  };
  for (const auto& row : rows) {
    // At the same rate, and through the resampler, where a constant stays what it is.
    for (const double rate : {48000.0, 44100.0}) {
      const Description from = Floats(48000, row.from);
      const Description to = Floats(rate, static_cast<std::uint32_t>(row.expected.size()));
      std::vector<float> input;
      for (int i = 0; i < 480; ++i)
        input.insert(input.end(), in.begin(), in.begin() + row.from);
      const auto output = SamplesOf<float>(Convert(*Converter(from, to), from, to, BytesOf(input)));
      ASSERT_EQ(output.size(), 480 * rate / 48000 * static_cast<double>(row.expected.size()));
      for (std::size_t i = 0; i < output.size(); ++i)
        ASSERT_NEAR(output[i], row.expected[i % row.expected.size()], 2e-6) << row.from << ' ' << i;
    }
  }
}

std::vector<float> Tone(double rate, double frequency, std::size_t frames, float level = 0.5f) {
  std::vector<float> tone(frames);
  for (std::size_t i = 0; i < frames; ++i) {
    tone[i] = level * static_cast<float>(std::sin(
                          2 * std::numbers::pi * frequency * static_cast<double>(i) / rate + 1));
  }
  return tone;
}

struct Quality {
  double level;  // of the tone, in dB of what went in
  double noise;  // of all the rest, likewise
  double worst;  // deviation of one sample, likewise
};

/// Two whole seconds of what became of a tone.
Quality Judge(const std::vector<float>& samples, double rate, double frequency) {
  const auto first = static_cast<std::size_t>(rate / 2);
  const auto count = static_cast<std::size_t>(rate * 2);
  const double step = 2 * std::numbers::pi * frequency / rate;
  double sine = 0;
  double cosine = 0;
  for (std::size_t i = first; i < first + count; ++i) {
    sine += samples[i] * std::sin(step * static_cast<double>(i)) * 2 / static_cast<double>(count);
    cosine += samples[i] * std::cos(step * static_cast<double>(i)) * 2 / static_cast<double>(count);
  }
  double power = 0;
  double worst = 0;
  for (std::size_t i = first; i < first + count; ++i) {
    const double rest = samples[i] - sine * std::sin(step * static_cast<double>(i)) -
                        cosine * std::cos(step * static_cast<double>(i));
    power += rest * rest / static_cast<double>(count);
    worst = std::max(worst, std::abs(rest));
  }
  return {20 * std::log10(std::hypot(sine, cosine) / 0.5), 10 * std::log10(power / 0.125),
          20 * std::log10(worst / 0.5)};
}

TEST(AudioConverter, ConvertsBuffersOneByOneWithoutSeams) {
  // Limits in dB of the tone. The rest of 16 bits is their rounding; of floats, the seams.
  const struct {
    double from, to, tone;
    bool isFloat;
    double level, noise, worst;
  } rows[] = {
      {48000, 44100, 997, false, 0.01, -88, -77},  {48000, 44100, 10007, false, 0.01, -88, -77},
      {48000, 44100, 18000, false, 0.1, -85, -70}, {48000, 16000, 997, false, 0.01, -88, -77},
      {48000, 16000, 6503, false, 0.1, -88, -77},  {44100, 48000, 10007, true, 0.01, -80, -60},
      {48000, 44100, 50, true, 0.01, -100, -80},   {48000, 44100, 5003, true, 0.01, -95, -80},
      {48000, 8000, 401, true, 0.01, -95, -70},    {32000, 48000, 997, true, 0.01, -80, -70},
      {48000, 44056, 10007, true, 0.01, -80, -70},
  };
  for (const auto& row : rows) {
    for (const double seconds : {0.01, 0.02, 0.04, 1.0}) {
      if (std::abs(std::remainder(row.to * seconds, 1)) > 1e-6) continue;
      SCOPED_TRACE(testing::Message() << row.from << " to " << row.to << ", " << row.tone << " Hz, "
                                      << seconds << " s");
      const Description from = Floats(row.from);
      const Description to = row.isFloat ? Floats(row.to) : Shorts(row.to);
      const auto converter = Converter(from, to);
      const Bytes input = BytesOf(Tone(row.from, row.tone, static_cast<std::size_t>(3 * row.from)));
      const auto block = static_cast<std::size_t>(std::lround(row.from * seconds)) * 4;
      std::vector<float> samples;
      for (std::size_t at = 0; at < input.size(); at += block) {
        const Bytes buffer(input.begin() + static_cast<std::ptrdiff_t>(at),
                           input.begin() + static_cast<std::ptrdiff_t>(at + block));
        const Bytes output = Convert(*converter, from, to, buffer);
        if (row.isFloat) {
          const auto part = SamplesOf<float>(output);
          samples.insert(samples.end(), part.begin(), part.end());
        } else {
          for (const std::int16_t sample : SamplesOf<std::int16_t>(output))
            samples.push_back(static_cast<float>(sample) / 32768);
        }
      }
      ASSERT_EQ(samples.size(), 3 * row.to);
      const Quality quality = Judge(samples, row.to, row.tone);
      EXPECT_LT(std::abs(quality.level), row.level);
      EXPECT_LT(quality.noise, row.noise);
      EXPECT_LT(quality.worst, row.worst);
    }
  }
}

TEST(AudioConverter, StopsWhatTheOutputCannotCarry) {
  const struct {
    double from, to, tone;
  } rows[] = {{48000, 44100, 23000},
              {48000, 16000, 10007},
              {96000, 44100, 30000},
              {48000, 11025, 7001},
              {192000, 48000, 25001}};
  for (const auto& row : rows) {
    const Description from = Floats(row.from);
    const Description to = Floats(row.to);
    const auto output = SamplesOf<float>(
        Convert(*Converter(from, to), from, to,
                BytesOf(Tone(row.from, row.tone, static_cast<std::size_t>(row.from)))));
    double worst = 0;
    for (std::size_t i = 200; i + 200 < output.size(); ++i)
      worst = std::max(worst, std::abs(static_cast<double>(output[i])));
    EXPECT_LT(20 * std::log10(worst / 0.5), -78) << row.from << " to " << row.to;
  }
}

TEST(AudioConverter, GivesAsManyFramesAsTheInputLasts) {
  const double rates[] = {8000, 11025, 16000, 22050, 32000, 44100, 48000, 88200, 96000, 192000};
  for (const double from : rates) {
    for (const double to : rates) {
      const auto converter = Converter(Shorts(from), Shorts(to));
      const Bytes buffer(static_cast<std::size_t>(from / 25) * 2);
      std::size_t frames = 0;
      // Ten minutes are 15,000 of these; a buffer's count depends on the buffer alone.
      for (int i = 0; i < 3; ++i)
        frames += 5000 * Convert(*converter, Shorts(from), Shorts(to), buffer).size() / 2;
      EXPECT_EQ(static_cast<double>(frames), 600 * to) << from << " to " << to;
    }
  }
  // Where it is no whole number, the nearest.
  for (const double rate : {44100.0, 16000.0, 47952.047952047952, 44100.5, 97.0}) {
    const auto converter = Converter(Floats(48000), Floats(rate));
    for (std::size_t frames = 0; frames < 2000; frames += 37) {
      const Bytes output = Convert(*converter, Floats(48000), Floats(rate), Bytes(frames * 4));
      ASSERT_EQ(output.size() / 4, std::floor(static_cast<double>(frames) * rate / 48000 + 0.5))
          << frames;
    }
  }
}

TEST(AudioConverter, PiecesGiveWhatTheWholeGives) {
  std::uint32_t room = 1;
  const struct {
    Description from, to;
  } rows[] = {
      {Shorts(48000, 2), Floats(44100, 2)},
      {Floats(44100, 2), Shorts(16000, 1)},
      {Format(32000, kSigned | kHigh | kBig, 6, 3, 20), Floats(44100.5, 2)},
      {Format(22050, kFloat | kPlanar, 3, 8, 64), Format(96000, kSigned, 5, 4, 32)},
      {Format(8000, kPacked | kPlanar, 2, 1, 8), Format(8000, kPacked, 2, 1, 8)},
      {Shorts(96000), Floats(8000)},
  };
  for (const auto& row : rows) {
    const std::uint32_t buffers = row.from.mFormatFlags & kPlanar ? row.from.mChannelsPerFrame : 1;
    // Lengths at which the end comes at any place of the converter's memory of what was before.
    for (std::size_t frames = 3000; frames < 6300; frames += 220) {
      Bytes input = Noise(frames * row.from.mBytesPerFrame * buffers);
      if (row.from.mFormatFlags & kFloat) {
        for (std::size_t i = 7; i < input.size(); i += 8)
          input[i] = static_cast<std::byte>(0x3F);  // of a size that sound has
      }
      const auto converter = Converter(row.from, row.to);
      const Bytes whole = Convert(*converter, row.from, row.to, input);
      ASSERT_GE(whole.size(), row.to.mBytesPerFrame * frames / 13);
      for (const std::uint32_t most : {1u, 7u, 500u, 100000u}) {
        Bytes pieces;
        Bytes passing(input.size() + 1);
        Source source{input, row.from.mBytesPerFrame, buffers, most, noErr, &passing};
        for (std::size_t before = 1; before != pieces.size();) {
          before = pieces.size();
          ASSERT_EQ(Fill(*converter, source, row.to, room = room * 7 % 331, pieces), noErr);
        }
        converter->Reset();
        ASSERT_TRUE(pieces == whole) << row.from.mSampleRate << ' ' << frames << ' ' << most;
      }
    }
  }
}

TEST(AudioConverter, AStatusEndsTheCallAndNotTheStream) {
  const Bytes input = BytesOf(Tone(48000, 440, 4800));
  const auto converter = Converter(Floats(48000), Floats(44100));
  Bytes output;
  Source source{input, 4, 1, 1000, -1234};
  EXPECT_EQ(Fill(*converter, source, Floats(44100), 100000, output), -1234);
  EXPECT_GT(output.size() / 4, 4300u);
  EXPECT_LT(output.size() / 4, 4410u);
  source.atEnd = noErr;
  EXPECT_EQ(Fill(*converter, source, Floats(44100), 100000, output), noErr);
  converter->Reset();
  EXPECT_EQ(output, Convert(*converter, Floats(48000), Floats(44100), input));
}

struct Hostile {
  std::uint32_t packets, bytes, buffers;
  bool hasData;
  int calls = 0;
  Bytes memory = {};

  static OSStatus Pull(AudioConverterRef, std::uint32_t* packets, AudioBufferList* list,
                       AudioStreamPacketDescription**, void* data) {
    auto& self = *static_cast<Hostile*>(data);
    self.memory.assign(self.bytes, std::byte{0x3F});
    self.memory.shrink_to_fit();  // so that reading on is seen by a sanitizer
    if (++self.calls > 3) self.packets = 0;
    *packets = self.packets;
    for (std::uint32_t i = 0; i < list->mNumberBuffers; ++i)
      list->mBuffers[i] = {99, self.bytes, self.hasData ? self.memory.data() : nullptr};
    list->mNumberBuffers = self.buffers;
    return noErr;
  }
};

TEST(AudioConverter, SurvivesHostileInputProcedures) {
  const Hostile rows[] = {
      {~0u, 4096, 2, true}, {5, 0, 2, true},      {5, 3, 2, true},
      {~0u, 4095, 2, true}, {5, 4096, 0, true},   {5, 4096, 1, true},
      {5, 64, 2, false},    {1, 4096, ~0u, true}, {1u << 31, 4093, 2, true},
  };
  for (const std::uint32_t flags : {kFloat | kPlanar, kFloat | kPacked}) {
    for (const double rate : {48000.0, 44100.0}) {
      const Description from = Format(48000, flags, 2, 4, 32);
      const auto converter = Converter(from, Shorts(rate, 2));
      for (Hostile hostile : rows) {
        std::int16_t output[65] = {};
        output[64] = 77;
        AudioBufferList list{1, {{2, 128, output}}};
        std::uint32_t packets = 1000;  // more than there is room for
        const OSStatus status =
            converter->FillComplexBuffer(Hostile::Pull, &hostile, &packets, &list, nullptr);
        const bool isUsable = hostile.bytes >= from.mBytesPerFrame;
        const bool lacks = hostile.buffers < (flags & kPlanar ? 2 : 1) || !hostile.hasData;
        EXPECT_EQ(status != noErr, lacks && isUsable) << hostile.bytes << ' ' << hostile.buffers;
        EXPECT_EQ(packets > 0, !lacks && isUsable) << hostile.bytes << ' ' << hostile.buffers;
        EXPECT_EQ(list.mBuffers[0].mDataByteSize, packets * 4);
        EXPECT_LE(packets, 32u);
        EXPECT_EQ(output[64], 77);
        converter->Reset();
      }
    }
  }
  const auto converter = Converter(Shorts(48000), Shorts(44100));
  std::uint32_t packets = 1;
  AudioBufferList empty{0, {}};
  EXPECT_NE(converter->FillComplexBuffer(nullptr, nullptr, &packets, &empty, nullptr), noErr);
  EXPECT_NE(converter->FillComplexBuffer(Hostile::Pull, nullptr, nullptr, nullptr, nullptr), noErr);
}

TEST(AudioConverter, ExtremesStayWithinBounds) {
  constexpr auto infinity = std::numeric_limits<float>::infinity();
  constexpr float kSlow = 0.0023f;
  const struct {
    const char* name;
    float (*at)(std::size_t i);
    float bound;
  } rows[] = {
      {"silence", [](std::size_t) { return 0.0f; }, 0},
      {"constant", [](std::size_t) { return 0.25f; }, 0.2501f},
      {"square", [](std::size_t i) { return i / 54 % 2 == 0 ? 1.0f : -1.0f; }, 1.4f},
      {"fast square", [](std::size_t i) { return i % 2 == 0 ? 1.0f : -1.0f; }, 1.4f},
      {"step at the end", [](std::size_t i) { return i % 480 > 470 ? 1.0f : 0.0f; }, 1.4f},
      {"first only", [](std::size_t i) { return i % 480 == 0 ? 1.0f : 0.0f; }, 1.3f},
      {"last only", [](std::size_t i) { return i % 480 == 479 ? 1.0f : 0.0f; }, 1.3f},
      {"clipped",
       [](std::size_t i) {
         return std::clamp(std::sin(static_cast<float>(i) * kSlow + 2.84f) * 3, -1.0f, 1.0f);
       },
       1.7f},
      {"ramp", [](std::size_t i) { return static_cast<float>(i % 480) / 480; }, 1.3f},
      {"noise", [](std::size_t i) { return static_cast<float>(i * i * 7919 % 1000) / 500 - 1; }, 3},
  };
  for (const double rate : {44100.0, 16000.0, 96000.0, 2000.0}) {
    const auto converter = Converter(Floats(48000), Floats(rate));
    for (const auto& row : rows) {
      for (const std::size_t frames : {1u, 2u, 3u, 5u, 17u, 100u, 277u, 480u}) {
        std::vector<float> input(frames);
        for (std::size_t i = 0; i < frames; ++i)
          input[i] = row.at(i);
        for (const float sample :
             SamplesOf<float>(Convert(*converter, Floats(48000), Floats(rate), BytesOf(input)))) {
          ASSERT_LE(std::abs(sample), row.bound) << row.name << ' ' << frames << ' ' << rate;
        }
      }
    }
    // What is no number harms nothing but its neighbourhood.
    std::vector<float> spoilt(4800, 0.25f);
    spoilt[2400] = std::nanf("");
    spoilt[2401] = infinity;
    spoilt[2402] = -infinity;
    const auto output = SamplesOf<float>(Convert(*Converter(Floats(48000), Floats(rate)),
                                                 Floats(48000), Floats(rate), BytesOf(spoilt)));
    for (std::size_t i = 0; i < output.size(); ++i) {
      ASSERT_TRUE(std::isfinite(output[i]));
      const bool isFar = i < output.size() / 3 || i > output.size() * 2 / 3;
      ASSERT_NEAR(output[i], 0.25, isFar ? 1e-6 : 1e13);
    }
  }
}

TEST(AudioConverter, AllocatesNothingOnceWarm) {
  const Description from = Format(48000, kFloat | kPlanar, 2, 4, 32);
  const Description to = Shorts(44100, 2);
  const auto converter = Converter(from, to);
  const Bytes input(std::size_t{1920} * 8);
  Bytes output(std::size_t{100000} * 4 + 1);
  long before = 0;
  for (int i = 0; i < 5; ++i) {
    if (i == 2) before = AllocationsOfThisThread();
    Source source{input, 4, 2, 700};
    output.clear();  // keeps its memory
    EXPECT_EQ(Fill(*converter, source, to, i % 2 ? 300 : 2000, output), noErr);
    converter->Reset();
  }
  EXPECT_EQ(AllocationsOfThisThread(), before);
}

}  // namespace
