// SPDX-License-Identifier: MIT
#include "platform/audioconverter/linearpcmconverter.h"

#include <algorithm>
#include <memory>
#include <new>
#include <optional>

#include "platform/audioconverter/channelmix.h"
#include "platform/audioconverter/planes.h"
#include "platform/audioconverter/pulledinput.h"
#include "platform/audioconverter/resampler.h"
#include "platform/audioconverter/sampleio.h"

namespace {

constexpr auto kFormatNotSupported = static_cast<OSStatus>(FourCharCode("fmt?"));

/// Frames, or samples side by side, that are worked on at once: few enough to stay in the cache.
constexpr std::size_t kBlock = 1024;

template <class Sample>
class LinearPcmConverter final : public OpaqueAudioConverter {
 public:
  LinearPcmConverter(const PcmFormat& source, const PcmFormat& destination, const RateRatio& ratio);

  OSStatus FillComplexBuffer(AudioConverterComplexInputDataProc inInputDataProc,
                             void* inInputDataProcUserData, std::uint32_t* ioOutputDataPacketSize,
                             AudioBufferList* outOutputData,
                             AudioStreamPacketDescription* outPacketDescription) override;
  OSStatus Reset() override;

 private:
  /// Converts up to `frames` frames of the input at hand, at the same rate; tells how many.
  std::size_t Copy(std::byte* destination, std::size_t frames);
  /// Produces up to `frames` frames of the input that was fed.
  std::size_t Resample(std::byte* destination, std::size_t frames);
  /// Puts input at hand into the resampler.
  void Feed();
  /// Makes frames of what is at hand; 0 when more input is needed.
  std::size_t Convert(std::byte* destination, std::size_t frames);
  std::uint64_t Missing(std::uint64_t frames) const;

  PulledInput input_;
  SampleReader<Sample> reader_;
  SampleWriter<Sample> writer_;
  ChannelMix<Sample> mix_;
  std::size_t sourceChannels_;
  std::size_t destinationChannels_;
  std::size_t frameBytes_;  ///< of the destination
  bool isFlat_;             ///< samples go from side by side to side by side, each by itself
  Planes<Sample> sourceRows_;
  Planes<Sample> destinationRows_;
  std::optional<Resampler<Sample>> resampler_;
  bool finished_ = false;  ///< the resampler knows of the end of the input
};

template <class Sample>
LinearPcmConverter<Sample>::LinearPcmConverter(const PcmFormat& source,
                                               const PcmFormat& destination, const RateRatio& ratio)
    : input_(source),
      reader_(source),
      writer_(destination),
      mix_(source.channels, destination.channels),
      sourceChannels_(source.channels),
      destinationChannels_(destination.channels),
      frameBytes_(destination.FrameBytes()),
      isFlat_(source.channels == destination.channels && source.isInterleaved),
      sourceRows_(source.channels, kBlock),
      destinationRows_(destination.channels, kBlock) {
  if (ratio.step != ratio.unit) {
    resampler_.emplace(ratio, std::min(source.channels, destination.channels));
  }
}

template <class Sample>
std::size_t LinearPcmConverter<Sample>::Copy(std::byte* destination, std::size_t frames) {
  const std::size_t block = isFlat_ ? std::max<std::size_t>(kBlock / sourceChannels_, 1) : kBlock;
  const std::size_t count = std::min({frames, input_.Frames(), block});
  if (count == 0) return 0;
  if (isFlat_) {
    Sample* const row = sourceRows_.Row(0);
    reader_.ReadFlat(input_.Buffers()[0], count * sourceChannels_, row);
    writer_.WriteFlat(row, count * sourceChannels_, destination);
  } else {
    reader_.Read(input_.Buffers(), count, sourceRows_.Rows());
    if (mix_.IsIdentity()) {
      writer_.Write(sourceRows_.Rows(), count, destination);
    } else {
      mix_.Mix(sourceRows_.Rows(), destinationRows_.Rows(), count);
      writer_.Write(destinationRows_.Rows(), count, destination);
    }
  }
  input_.Use(count);
  return count;
}

template <class Sample>
void LinearPcmConverter<Sample>::Feed() {
  std::size_t count = std::min({input_.Frames(), resampler_->MakeRoom(), kBlock});
  Sample* tails[kMostPcmChannels];
  for (std::size_t i = 0; i < std::min(sourceChannels_, destinationChannels_); ++i)
    tails[i] = resampler_->Tail(i);
  // Fewer channels before the filter, more behind it: it works on as few as there can be.
  if (destinationChannels_ < sourceChannels_) {
    reader_.Read(input_.Buffers(), count, sourceRows_.Rows());
    mix_.Mix(sourceRows_.Rows(), tails, count);
  } else {
    reader_.Read(input_.Buffers(), count, tails);
  }
  input_.Use(count);
  resampler_->Append(count);
}

template <class Sample>
std::size_t LinearPcmConverter<Sample>::Resample(std::byte* destination, std::size_t frames) {
  const bool mixesUp = destinationChannels_ > sourceChannels_;
  Sample* const* const rows = mixesUp ? sourceRows_.Rows() : destinationRows_.Rows();
  const std::size_t count = resampler_->Produce(rows, std::min(frames, kBlock));
  if (mixesUp) mix_.Mix(rows, destinationRows_.Rows(), count);
  writer_.Write(destinationRows_.Rows(), count, destination);
  return count;
}

template <class Sample>
std::size_t LinearPcmConverter<Sample>::Convert(std::byte* destination, std::size_t frames) {
  if (!resampler_) return Copy(destination, frames);
  for (;;) {
    const std::size_t count = Resample(destination, frames);
    if (count > 0 || finished_) return count;
    if (input_.Frames() > 0) {
      Feed();
    } else if (input_.HasEnded()) {
      resampler_->Finish();
      finished_ = true;
    } else {
      return 0;
    }
  }
}

template <class Sample>
std::uint64_t LinearPcmConverter<Sample>::Missing(std::uint64_t frames) const {
  return resampler_ ? resampler_->Missing(frames) : frames;
}

template <class Sample>
OSStatus LinearPcmConverter<Sample>::FillComplexBuffer(
    AudioConverterComplexInputDataProc inInputDataProc, void* inInputDataProcUserData,
    std::uint32_t* ioOutputDataPacketSize, AudioBufferList* outOutputData,
    AudioStreamPacketDescription* /*outPacketDescription*/) {
  if (!ioOutputDataPacketSize) return kParameterError;
  const std::size_t asked = *ioOutputDataPacketSize;
  *ioOutputDataPacketSize = 0;
  if (!inInputDataProc || !outOutputData || outOutputData->mNumberBuffers < 1 ||
      !outOutputData->mBuffers[0].mData) {
    return kParameterError;
  }
  AudioBuffer& output = outOutputData->mBuffers[0];
  const std::size_t wanted = std::min(asked, output.mDataByteSize / frameBytes_);
  auto* const destination = static_cast<std::byte*>(output.mData);
  std::size_t produced = 0;
  OSStatus status = noErr;
  while (produced < wanted) {
    const std::size_t count = Convert(destination + produced * frameBytes_, wanted - produced);
    produced += count;
    if (count > 0) continue;
    if (input_.HasEnded()) break;
    status =
        input_.Pull(this, inInputDataProc, inInputDataProcUserData, Missing(wanted - produced));
    if (status != noErr) break;
  }
  *ioOutputDataPacketSize = static_cast<std::uint32_t>(produced);
  output.mDataByteSize = static_cast<std::uint32_t>(produced * frameBytes_);
  try {
    input_.Keep();
  } catch (const std::bad_alloc&) {
    input_.Reset();
    if (status == noErr) status = kNoMemoryError;
  }
  return status;
}

template <class Sample>
OSStatus LinearPcmConverter<Sample>::Reset() {
  input_.Reset();
  finished_ = false;
  if (resampler_) resampler_->Reset();
  return noErr;
}

}  // namespace

OSStatus NewLinearPcmConverter(const AudioStreamBasicDescription& source,
                               const AudioStreamBasicDescription& destination,
                               AudioConverterRef* converter) {
  const std::optional<PcmFormat> from = ReadPcmFormat(source);
  const std::optional<PcmFormat> to = ReadPcmFormat(destination);
  if (!from || !to || !to->isInterleaved) return kFormatNotSupported;
  const std::optional<RateRatio> ratio = MakeRateRatio(from->rate, to->rate);
  if (!ratio) return kFormatNotSupported;
  try {
    if (from->NeedsDouble() || to->NeedsDouble()) {
      *converter = new LinearPcmConverter<double>(*from, *to, *ratio);
    } else {
      *converter = new LinearPcmConverter<float>(*from, *to, *ratio);
    }
  } catch (const std::bad_alloc&) {
    return kNoMemoryError;
  }
  return noErr;
}
