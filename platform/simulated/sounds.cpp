// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <numbers>
#include <span>
#include <utility>
#include <vector>

#include "platform/simulated/media.h"

namespace {

/// Full scale of 16 bits.
constexpr double kFullScale = 32767;

constexpr int kChannelTones[] = {1000, 440, 500, 600, 700, 800, 900, 1100};
/// The level of every second, over and over.
constexpr int kLevels[] = {-6, -12, -18, -24};

constexpr int kBeepTone = 1000;
constexpr double kBeepLevel = -12;
constexpr int kBackgroundTone = 440;
constexpr double kBackgroundLevel = -30;

/// The format that a microphone changes to.
constexpr int kOtherRate = 44100;
constexpr int kOtherChannels = 1;

double Amplitude(double decibels) {
  return kFullScale * std::pow(10.0, decibels / 20.0);
}

/// A tone at sample `n`; computed from whole periods, so that it is exact however far n is.
double Tone(std::uint64_t n, int frequency, int rate) {
  const std::uint64_t period = n % static_cast<std::uint64_t>(rate);
  const std::uint64_t phase =
      period * static_cast<std::uint64_t>(frequency) % static_cast<std::uint64_t>(rate);
  return std::sin(2 * std::numbers::pi * static_cast<double>(phase) / rate);
}

std::int16_t Rounded(double sample) {
  return static_cast<std::int16_t>(std::lround(sample));
}

/// The first sample of a piece of sound at a rate: whole samples for pieces of any length.
std::uint64_t SampleAt(std::uint64_t piece, FrameRate pieces, int rate) {
  return gst_util_uint64_scale(
      piece, static_cast<guint64>(rate) * static_cast<guint64>(pieces.denominator),
      static_cast<guint64>(pieces.numerator));
}

std::size_t LargestPiece(FrameRate pieces, int rate, int channels) {
  return (SampleAt(1, pieces, rate) + 1) * static_cast<std::size_t>(channels) *
         sizeof(std::int16_t);
}

/// The samples of a buffer for as long as this lives; none when it has no memory.
class MappedSamples {
 public:
  MappedSamples(GstBuffer* buffer, std::uint64_t first, std::uint64_t end, int channels)
      : buffer_(buffer) {
    gst_buffer_set_size(buffer,
                        static_cast<gssize>((end - first) * static_cast<std::uint64_t>(channels) *
                                            sizeof(std::int16_t)));
    GST_BUFFER_OFFSET(buffer) = first;
    GST_BUFFER_OFFSET_END(buffer) = end;
    isMapped_ = gst_buffer_map(buffer, &map_, GST_MAP_WRITE);
  }
  ~MappedSamples() {
    if (isMapped_) gst_buffer_unmap(buffer_, &map_);
  }
  MappedSamples(const MappedSamples&) = delete;
  MappedSamples& operator=(const MappedSamples&) = delete;

  explicit operator bool() const { return isMapped_; }
  std::int16_t* Data() { return static_cast<std::int16_t*>(static_cast<void*>(map_.data)); }

 private:
  GstBuffer* const buffer_;
  GstMapInfo map_;
  bool isMapped_ = false;
};

class Tones final : public SourceMedium {
 public:
  explicit Tones(std::shared_ptr<SimulatedHardware> hardware)
      : hardware_(std::move(hardware)),
        caps_(SoundCaps(hardware_->Description().sampleRate, hardware_->Description().channels)),
        otherCaps_(SoundCaps(kOtherRate, kOtherChannels)) {}

  GstCaps* CapsAt(const SourceFrame* frame) override {
    return frame && HasChanged(*frame) ? otherCaps_.get() : caps_.get();
  }

  std::size_t BufferSize() const override {
    const SimulatedDescription& device = hardware_->Description();
    return std::max(LargestPiece(kMicrophonePieces, device.sampleRate, device.channels),
                    LargestPiece(kMicrophonePieces, kOtherRate, kOtherChannels));
  }

  Filling Fill(GstBuffer* buffer, const SourceFrame& frame) override {
    const bool hasChanged = HasChanged(frame);
    const SimulatedDescription& device = hardware_->Description();
    const int rate = hasChanged ? kOtherRate : device.sampleRate;
    const int channels = hasChanged ? kOtherChannels : device.channels;
    const std::uint64_t first = SampleAt(frame.index, kMicrophonePieces, rate);
    const std::uint64_t end = SampleAt(frame.index + 1, kMicrophonePieces, rate);
    MappedSamples samples(buffer, first, end, channels);
    if (!samples) return Filling::Failed;
    std::int16_t* sample = samples.Data();
    for (std::uint64_t n = first; n < end; ++n) {
      const std::uint64_t second = n / static_cast<std::uint64_t>(rate);
      const double amplitude = amplitudes_[second % std::size(kLevels)];
      for (int channel = 0; channel < channels; ++channel)
        *sample++ = Rounded(amplitude * Tone(n, kChannelTones[channel], rate));
    }
    return Filling::Filled;
  }

 private:
  bool HasChanged(const SourceFrame& frame) const {
    const auto& after = hardware_->Description().changeFormatAfter;
    return after && TimeOfFrames(kMicrophonePieces, frame.index) >=
                        static_cast<std::uint64_t>(std::chrono::nanoseconds(*after).count());
  }

  const std::shared_ptr<SimulatedHardware> hardware_;
  const GstPointer<GstCaps> caps_, otherCaps_;
  const std::array<double, std::size(kLevels)> amplitudes_{
      Amplitude(kLevels[0]), Amplitude(kLevels[1]), Amplitude(kLevels[2]), Amplitude(kLevels[3])};
};

class TapeSound final : public SourceMedium {
 public:
  explicit TapeSound(std::shared_ptr<SimulatedHardware> hardware)
      : hardware_(std::move(hardware)), caps_(SoundCaps(kTapeSoundRate, kTapeSoundChannels)) {}

  GstCaps* CapsAt(const SourceFrame*) override { return caps_.get(); }
  std::size_t BufferSize() const override {
    return LargestPiece(hardware_->Description().rate, kTapeSoundRate, kTapeSoundChannels);
  }

  Filling Fill(GstBuffer* buffer, const SourceFrame& frame) override {
    if (frame.tapeSpeed != kTapeUnits) return Filling::Skipped;
    const FrameRate rate = hardware_->Description().rate;
    const std::uint64_t first = SampleAt(frame.tapeFrame, rate, kTapeSoundRate);
    const std::uint64_t end = SampleAt(frame.tapeFrame + 1, rate, kTapeSoundRate);
    MappedSamples samples(buffer, first, end, kTapeSoundChannels);
    if (!samples) return Filling::Failed;
    const bool beeps = BeginsSecond(frame.tapeFrame);
    std::int16_t* sample = samples.Data();
    for (std::uint64_t n = first; n < end; ++n) {
      double value = background_ * Tone(n, kBackgroundTone, kTapeSoundRate);
      if (beeps) value += beep_ * Tone(n - first, kBeepTone, kTapeSoundRate);
      *sample++ = Rounded(value);
      *sample++ = Rounded(value);
    }
    return Filling::Filled;
  }

 private:
  /// By the time codes: drop-frame counting leaves out frame 00 of most minutes.
  bool BeginsSecond(std::uint64_t tapeFrame) const {
    const TapeTime time = hardware_->TimeCodeOf(tapeFrame);
    return time.frames == 0 ||
           (tapeFrame > 0 && hardware_->TimeCodeOf(tapeFrame - 1).seconds != time.seconds);
  }

  const std::shared_ptr<SimulatedHardware> hardware_;
  const GstPointer<GstCaps> caps_;
  const double background_ = Amplitude(kBackgroundLevel);
  const double beep_ = Amplitude(kBeepLevel);
};

}  // namespace

GstPointer<GstCaps> SoundCaps(int rate, int channels) {
  GstPointer<GstCaps> caps(gst_caps_new_simple(
      "audio/x-raw", "format", G_TYPE_STRING, "S16LE", "layout", G_TYPE_STRING, "interleaved",
      "rate", G_TYPE_INT, rate, "channels", G_TYPE_INT, channels, nullptr));
  // More than stereo comes without places for its channels, as from an interface with many inputs.
  if (channels > 2) {
    gst_caps_set_simple(caps.get(), "channel-mask", GST_TYPE_BITMASK, guint64{0}, nullptr);
  }
  return caps;
}

std::unique_ptr<SourceMedium> NewTapeSound(std::shared_ptr<SimulatedHardware> hardware) {
  return std::make_unique<TapeSound>(std::move(hardware));
}

std::unique_ptr<SourceMedium> NewTones(std::shared_ptr<SimulatedHardware> hardware) {
  return std::make_unique<Tones>(std::move(hardware));
}
