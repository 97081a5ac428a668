// SPDX-License-Identifier: MIT
#include "capture/zorvexaudiodelegate.h"

#include "capture/truncated.h"
#include "capture/zorvexaudioconversion.h"

namespace {

AudioStreamBasicDescription LinearPcm(unsigned int formatFlags, unsigned long sampleRate,
                                      unsigned long channels, unsigned long bytesPerSample) {
  constexpr unsigned int kSignedPacked = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked;
  const auto channelCount = static_cast<std::uint32_t>(channels != 0 ? channels : 2);
  const auto sampleSize = static_cast<std::uint32_t>(bytesPerSample != 0 ? bytesPerSample : 2);
  return {
      .mSampleRate = sampleRate != 0 ? static_cast<double>(sampleRate) : 44100.0,
      .mFormatID = kAudioFormatLinearPCM,
      .mFormatFlags = formatFlags != 0 ? formatFlags : kSignedPacked,
      .mBytesPerPacket = sampleSize * channelCount,
      .mFramesPerPacket = 1,
      .mBytesPerFrame = sampleSize * channelCount,
      .mChannelsPerFrame = channelCount,
      .mBitsPerChannel = sampleSize * 8,
      .mReserved = 0,
  };
}

}  // namespace

// ConvertSamplesBuffer is left as it is: only what a conversion wrote is ever read.
ZRVXDeviceDecompressedAudioOutputDelegate::ZRVXDeviceDecompressedAudioOutputDelegate(
    ZRVXAudioCallBack callBack, long data, unsigned int formatFlags, unsigned long sampleRate,
    unsigned long channels, unsigned long bytesPerSample)
    : pAudioCallBack(callBack),
      AudioCallBackData(data),
      OutputStreamDescription(LinearPcm(formatFlags, sampleRate, channels, bytesPerSample)) {}

ZRVXDeviceDecompressedAudioOutputDelegate::~ZRVXDeviceDecompressedAudioOutputDelegate() {
  if (AudioConverter) AudioConverterDispose(AudioConverter);
}

bool ZRVXDeviceDecompressedAudioOutputDelegate::InvalidateAudioCallBack(ZRVXAudioCallBack callBack,
                                                                        long data) {
  const LLockObjectGuard guard(DelegateMutex);
  // Deliberately two comparisons on their own, as the video delegate's.
  const bool isCallBack = pAudioCallBack == callBack;
  const bool isData = AudioCallBackData == data;
  if (isCallBack) pAudioCallBack = nullptr;
  if (isData) AudioCallBackData = 0;
  return isCallBack || isData;
}

bool ZRVXDeviceDecompressedAudioOutputDelegate::MakeConverter(QTSampleBuffer& sampleBuffer) {
  const QTFormatDescription* format = sampleBuffer.FormatDescription();
  if (!format) return false;
  const auto& description =
      format->FormatDescriptionAttributes().QTFormatDescriptionAudioStreamBasicDescriptionAttribute;
  if (!description) return false;
  InputStreamDescription = *description;
  if (AudioConverterNew(&InputStreamDescription, &OutputStreamDescription, &AudioConverter) ==
      noErr) {
    return true;
  }
  AudioConverter = nullptr;
  return false;
}

void ZRVXDeviceDecompressedAudioOutputDelegate::CaptureOutput(QTCaptureOutput*,
                                                              QTSampleBuffer* sampleBuffer,
                                                              QTCaptureConnection*) {
  const LLockObjectGuard guard(DelegateMutex);
  if (!pAudioCallBack) return;
  // Deliberate: a converter once made stays, whatever later buffers say of their format.
  if (!AudioConverter && !MakeConverter(*sampleBuffer)) return;

  AudioBufferList* samples = sampleBuffer->AudioBufferListWithOptions(
      QTSampleBufferAudioBufferListOptionAssure16ByteAlignment);
  if (!samples) return;

  unsigned int frames = 0;
  const unsigned int bytesPerSample = OutputStreamDescription.mBitsPerChannel / 8;
  if (!QTDeviceFormatConvertAudioSamples(AudioConverter, samples, InputStreamDescription,
                                         ConvertSamplesBuffer, sizeof ConvertSamplesBuffer, frames,
                                         OutputStreamDescription) ||
      frames == 0 || bytesPerSample == 0) {
    return;
  }
  pAudioCallBack(ConvertSamplesBuffer, OutputStreamDescription.mFormatFlags,
                 Truncated(OutputStreamDescription.mSampleRate),
                 OutputStreamDescription.mChannelsPerFrame, bytesPerSample, frames,
                 AudioCallBackData);
}
