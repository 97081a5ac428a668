// SPDX-License-Identifier: MIT
#include "platform/audioconverter/pcmformat.h"

namespace {

constexpr double kLowestRate = 1;
constexpr double kHighestRate = 6'144'000;  // sixteen times 384 kHz, as one-bit recorders have it
constexpr std::uint32_t kKnownFlags =
    kAudioFormatFlagIsFloat | kAudioFormatFlagIsBigEndian | kAudioFormatFlagIsSignedInteger |
    kAudioFormatFlagIsPacked | kAudioFormatFlagIsAlignedHigh | kAudioFormatFlagIsNonInterleaved;

bool HasConsistentPackets(const AudioStreamBasicDescription& description) {
  return description.mFormatID == kAudioFormatLinearPCM &&
         (description.mFormatFlags & ~kKnownFlags) == 0 && description.mFramesPerPacket == 1 &&
         description.mBytesPerPacket == description.mBytesPerFrame &&
         description.mChannelsPerFrame >= 1 && description.mChannelsPerFrame <= kMostPcmChannels;
}

bool HasConsistentSamples(const PcmFormat& format, bool isPacked) {
  const unsigned width = format.sampleBytes * 8;
  if (format.isFloat) {
    return (format.sampleBytes == 4 || format.sampleBytes == 8) && format.bits == width;
  }
  if (format.sampleBytes < 1 || format.sampleBytes > 4) return false;
  return format.bits >= 1 && format.bits <= width && (!isPacked || format.bits == width);
}

}  // namespace

std::optional<PcmFormat> ReadPcmFormat(const AudioStreamBasicDescription& description) {
  if (!HasConsistentPackets(description)) return {};
  // Written so that a rate that is not a number fails.
  if (!(description.mSampleRate >= kLowestRate && description.mSampleRate <= kHighestRate)) {
    return {};
  }
  const auto has = [&](std::uint32_t flag) { return (description.mFormatFlags & flag) != 0; };
  PcmFormat format{};
  format.rate = description.mSampleRate;
  format.channels = description.mChannelsPerFrame;
  format.isFloat = has(kAudioFormatFlagIsFloat);
  format.isSigned = has(kAudioFormatFlagIsSignedInteger);
  format.isBigEndian = has(kAudioFormatFlagIsBigEndian);
  format.isInterleaved = !has(kAudioFormatFlagIsNonInterleaved) || format.channels == 1;
  const std::uint32_t samples = format.isInterleaved ? description.mChannelsPerFrame : 1;
  if (description.mBytesPerFrame % samples != 0 || description.mBytesPerFrame / samples > 8) {
    return {};
  }
  format.sampleBytes = description.mBytesPerFrame / samples;
  format.bits = description.mBitsPerChannel;
  if (!HasConsistentSamples(format, has(kAudioFormatFlagIsPacked))) return {};
  if (has(kAudioFormatFlagIsAlignedHigh)) format.padding = format.sampleBytes * 8 - format.bits;
  return format;
}
