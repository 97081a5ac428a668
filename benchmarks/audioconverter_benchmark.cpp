// SPDX-License-Identifier: MIT
//
// Ten seconds of sound through the converter beside its peers, in blocks of 10, 20 and 40 ms, with
// what the result is worth in the same row: signal to everything else for two tones of half scale,
// and what is left of tones that the output's rate cannot carry or hardly can, in dB of the input.
// `buffers` converts each block by itself, as a host does; all others are fed a stream. Compare
// ratios of one run:
//
//   audioconverter_benchmark --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true
#include <benchmark/benchmark.h>
#include <gst/audio/audio.h>
#include <soxr.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "platform/audioconverter/linearpcmconverter.h"

namespace {

constexpr std::size_t kSeconds = 10;

struct Shape {
  unsigned rate;
  unsigned channels;
  bool isFloat;

  std::size_t FrameBytes() const { return std::size_t{channels} * (isFloat ? 4 : 2); }
};

struct Job {
  const char* name;
  Shape from;
  Shape to;
  double secondTone;  // beside 997 Hz
  double edgeTone;    // in what the filter should pass
  double aliasTone;   // in what it should not
};

constexpr Job kJobs[] = {
    {"48k_s16_stereo_to_44k1", {48000, 2, false}, {44100, 2, false}, 10007, 18000, 23000},
    {"48k_f32_stereo_to_16k_s16_mono", {48000, 2, true}, {16000, 1, false}, 6503, 6500, 10007},
    {"f32_to_s16_stereo", {48000, 2, true}, {48000, 2, false}, 10007, 18000, 0},
    {"s16_stereo_to_mono", {48000, 2, false}, {48000, 1, false}, 10007, 18000, 0},
};

class Converter {
 public:
  virtual ~Converter() = default;
  /// Converts one block, and returns the frames that came out.
  virtual std::size_t Convert(const std::byte* input, std::size_t frames, std::byte* output,
                              std::size_t room) = 0;
};

AudioStreamBasicDescription Describe(const Shape& shape) {
  AudioStreamBasicDescription description{};
  description.mSampleRate = shape.rate;
  description.mFormatID = kAudioFormatLinearPCM;
  description.mFormatFlags =
      kAudioFormatFlagIsPacked |
      (shape.isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger);
  description.mFramesPerPacket = 1;
  description.mBytesPerFrame = static_cast<std::uint32_t>(shape.FrameBytes());
  description.mBytesPerPacket = description.mBytesPerFrame;
  description.mChannelsPerFrame = shape.channels;
  description.mBitsPerChannel = shape.isFloat ? 32 : 16;
  return description;
}

class Zorvex : public Converter {
 public:
  Zorvex(const Job& job, bool isStream) : job_(job), isStream_(isStream) {
    AudioConverterRef converter = nullptr;
    NewLinearPcmConverter(Describe(job.from), Describe(job.to), &converter);
    converter_.reset(converter);
  }
  std::size_t Convert(const std::byte* input, std::size_t frames, std::byte* output,
                      std::size_t room) override {
    input_ = input;
    left_ = frames;
    auto packets = static_cast<std::uint32_t>(room);
    AudioBufferList list{
        1, {{job_.to.channels, static_cast<std::uint32_t>(room * job_.to.FrameBytes()), output}}};
    // The end of a stream's input is a status here, so that the stream goes on afterwards.
    converter_->FillComplexBuffer(&Pull, this, &packets, &list, nullptr);
    if (!isStream_) converter_->Reset();
    return packets;
  }

 private:
  static OSStatus Pull(AudioConverterRef, std::uint32_t* packets, AudioBufferList* list,
                       AudioStreamPacketDescription**, void* data) {
    auto& self = *static_cast<Zorvex*>(data);
    const std::size_t count = std::min<std::size_t>(*packets, self.left_);
    if (count == 0 && self.isStream_) return 1;
    *packets = static_cast<std::uint32_t>(count);
    const std::size_t bytes = count * self.job_.from.FrameBytes();
    list->mBuffers[0].mData = const_cast<std::byte*>(self.input_);
    list->mBuffers[0].mDataByteSize = static_cast<std::uint32_t>(bytes);
    self.input_ += bytes;
    self.left_ -= count;
    return noErr;
  }

  const Job& job_;
  bool isStream_;
  std::unique_ptr<OpaqueAudioConverter> converter_;
  const std::byte* input_ = nullptr;
  std::size_t left_ = 0;
};

class Swresample : public Converter {
 public:
  explicit Swresample(const Job& job) {
    AVChannelLayout from;
    AVChannelLayout to;
    av_channel_layout_default(&from, static_cast<int>(job.from.channels));
    av_channel_layout_default(&to, static_cast<int>(job.to.channels));
    const auto format = [](const Shape& shape) {
      return shape.isFloat ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_S16;
    };
    swr_alloc_set_opts2(&context_, &to, format(job.to), static_cast<int>(job.to.rate), &from,
                        format(job.from), static_cast<int>(job.from.rate), 0, nullptr);
    swr_init(context_);
  }
  ~Swresample() override { swr_free(&context_); }
  std::size_t Convert(const std::byte* input, std::size_t frames, std::byte* output,
                      std::size_t room) override {
    auto* out = reinterpret_cast<std::uint8_t*>(output);
    const auto* in = reinterpret_cast<const std::uint8_t*>(input);
    return static_cast<std::size_t>(
        swr_convert(context_, &out, static_cast<int>(room), &in, static_cast<int>(frames)));
  }

 private:
  SwrContext* context_ = nullptr;
};

/// Mixes a stereo input to mono first, where the job wants that: soxr does not.
class Soxr : public Converter {
 public:
  explicit Soxr(const Job& job) : job_(job), mixed_(job.from.rate / 10) {
    const auto format = [](const Shape& shape) {
      return shape.isFloat ? SOXR_FLOAT32_I : SOXR_INT16_I;
    };
    const soxr_io_spec_t io = soxr_io_spec(format(job.from), format(job.to));
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    soxr_ =
        soxr_create(job.from.rate, job.to.rate, job.to.channels, nullptr, &io, &quality, nullptr);
  }
  ~Soxr() override { soxr_delete(soxr_); }
  std::size_t Convert(const std::byte* input, std::size_t frames, std::byte* output,
                      std::size_t room) override {
    const void* source = input;
    if (job_.to.channels < job_.from.channels) {
      const auto* samples = reinterpret_cast<const float*>(input);
      for (std::size_t i = 0; i < frames; ++i)
        mixed_[i] = 0.5f * (samples[2 * i] + samples[2 * i + 1]);
      source = mixed_.data();
    }
    std::size_t done = 0;
    soxr_process(soxr_, source, frames, nullptr, output, room, &done);
    return done;
  }

 private:
  const Job& job_;
  std::vector<float> mixed_;
  soxr_t soxr_;
};

class GStreamer : public Converter {
 public:
  explicit GStreamer(const Job& job) {
    const auto info = [](const Shape& shape) {
      GstAudioInfo result;
      gst_audio_info_init(&result);
      gst_audio_info_set_format(
          &result, shape.isFloat ? GST_AUDIO_FORMAT_F32LE : GST_AUDIO_FORMAT_S16LE,
          static_cast<int>(shape.rate), static_cast<int>(shape.channels), nullptr);
      return result;
    };
    GstAudioInfo from = info(job.from);
    GstAudioInfo to = info(job.to);
    converter_ = gst_audio_converter_new(GST_AUDIO_CONVERTER_FLAG_NONE, &from, &to, nullptr);
  }
  ~GStreamer() override { gst_audio_converter_free(converter_); }
  std::size_t Convert(const std::byte* input, std::size_t frames, std::byte* output,
                      std::size_t) override {
    gpointer in[] = {const_cast<std::byte*>(input)};
    gpointer out[] = {output};
    const std::size_t count = gst_audio_converter_get_out_frames(converter_, frames);
    gst_audio_converter_samples(converter_, GST_AUDIO_CONVERTER_FLAG_NONE, in, frames, out, count);
    return count;
  }

 private:
  GstAudioConverter* converter_;
};

double ReadSample(const std::byte* at, bool isFloat) {
  if (isFloat) {
    float value;
    std::memcpy(&value, at, sizeof value);
    return static_cast<double>(value);
  }
  std::int16_t value;
  std::memcpy(&value, at, sizeof value);
  return value / 32768.0;
}

/// The same tone of half scale on every channel.
std::vector<std::byte> Tone(const Shape& shape, double frequency) {
  std::vector<std::byte> bytes(kSeconds * shape.rate * shape.FrameBytes());
  std::byte* at = bytes.data();
  for (std::size_t i = 0; i < kSeconds * shape.rate; ++i) {
    const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(i) / shape.rate;
    const double value = 0.5 * std::sin(angle + 1);
    const auto real = static_cast<float>(value);
    const auto whole = static_cast<std::int16_t>(std::lrint(value * 32768));
    for (unsigned channel = 0; channel < shape.channels; ++channel) {
      shape.isFloat ? std::memcpy(at, &real, sizeof real) : std::memcpy(at, &whole, sizeof whole);
      at += shape.FrameBytes() / shape.channels;
    }
  }
  return bytes;
}

/// All blocks through the converter; returns how many bytes came out.
std::size_t RunThrough(Converter& converter, const Job& job, const std::vector<std::byte>& input,
                       std::size_t block, std::vector<std::byte>& output) {
  output.resize((kSeconds + 1) * job.to.rate * job.to.FrameBytes());
  std::size_t done = 0;
  const std::size_t step = block * job.from.FrameBytes();
  for (std::size_t at = 0; at + step <= input.size(); at += step) {
    const std::size_t room = (output.size() - done) / job.to.FrameBytes();
    done += converter.Convert(input.data() + at, block, output.data() + done, room) *
            job.to.FrameBytes();
  }
  return done;
}

struct Measured {
  double all;    // in dB of the tone that went in
  double level;  // of the tone, likewise
  double noise;  // of everything else, likewise
};

/// The first channel, for nine whole seconds: in them a tone of whole Hertz is exactly periodic.
Measured Measure(const Shape& shape, const std::vector<std::byte>& bytes, double frequency) {
  const std::size_t first = shape.rate / 2;
  const std::size_t last = first + std::size_t{9} * shape.rate;
  const double step = 2 * std::numbers::pi * frequency / shape.rate;
  double sine = 0;
  double cosine = 0;
  double power = 0;
  for (std::size_t i = first; i < last; ++i) {
    const double value = ReadSample(bytes.data() + i * shape.FrameBytes(), shape.isFloat);
    sine += value * std::sin(step * static_cast<double>(i));
    cosine += value * std::cos(step * static_cast<double>(i));
    power += value * value;
  }
  const auto count = static_cast<double>(last - first);
  const double tone = 2 * (sine * sine + cosine * cosine) / (count * count);
  const auto decibels = [](double of) { return 10 * std::log10(std::max(of, 1e-15) / 0.125); };
  return {decibels(power / count), decibels(tone), decibels(power / count - tone)};
}

using Make = std::function<std::unique_ptr<Converter>(const Job&)>;

void Run(benchmark::State& state, const Job& job, const Make& make) {
  const auto block = static_cast<std::size_t>(state.range(0)) * job.from.rate / 1000;
  std::vector<std::byte> output;
  const auto measure = [&](double tone) {
    const std::unique_ptr<Converter> converter = make(job);
    RunThrough(*converter, job, Tone(job.from, tone), block, output);
    return Measure(job.to, output, tone);
  };
  const Measured low = measure(997);
  const Measured high = measure(job.secondTone);
  state.counters["snr_low"] = low.level - low.noise;
  state.counters["snr_high"] = high.level - high.noise;
  state.counters["edge"] = measure(job.edgeTone).level;
  if (job.aliasTone > 0) state.counters["alias"] = measure(job.aliasTone).all;

  const std::vector<std::byte> input = Tone(job.from, 997);
  const std::unique_ptr<Converter> converter = make(job);
  RunThrough(*converter, job, input, block, output);
  for ([[maybe_unused]] auto iteration : state) {
    benchmark::DoNotOptimize(RunThrough(*converter, job, input, block, output));
    benchmark::ClobberMemory();
  }
}

void Register() {
  const std::pair<const char*, Make> makers[] = {
      {"buffers", [](const Job& job) { return std::make_unique<Zorvex>(job, false); }},
      {"stream", [](const Job& job) { return std::make_unique<Zorvex>(job, true); }},
      {"swresample", [](const Job& job) { return std::make_unique<Swresample>(job); }},
      {"soxr_high", [](const Job& job) { return std::make_unique<Soxr>(job); }},
      {"gstreamer_q4", [](const Job& job) { return std::make_unique<GStreamer>(job); }},
  };
  for (const Job& job : kJobs) {
    for (const auto& [name, make] : makers) {
      if (job.from.rate == job.to.rate && std::string(name) == "soxr_high") continue;
      const std::string title = std::string(job.name) + "/" + name;
      benchmark::RegisterBenchmark(
          title.c_str(), [&job, make = make](benchmark::State& state) { Run(state, job, make); })
          ->ArgName("ms")
          ->Arg(10)
          ->Arg(20)
          ->Arg(40)
          ->Unit(benchmark::kMillisecond);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  gst_init(nullptr, nullptr);
  Register();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
