// SPDX-License-Identifier: MIT
#include "capture/zorvexaudioconversion.h"

#include <algorithm>

namespace {

/// How far one conversion has come with its input.
struct ConversionState {
  AudioStreamBasicDescription const* InputDescription;
  AudioBufferList* InputBuffers;
  std::uint64_t nConsumed;  ///< bytes of each buffer
};

/// Points the buffers at the next piece of the input, at most the packets asked for.
OSStatus QTDeviceFormatConvertAudioOutputCallBack(AudioConverterRef,
                                                  std::uint32_t* ioNumberDataPackets,
                                                  AudioBufferList* ioData,
                                                  AudioStreamPacketDescription** outDescription,
                                                  void* inUserData) {
  if (!ioNumberDataPackets) return noErr;
  const std::uint32_t requested = *ioNumberDataPackets;
  *ioNumberDataPackets = 0;

  if (!ioData) return noErr;
  AudioBuffer* const targets = ioData->mBuffers;
  for (std::uint32_t i = 0; i < ioData->mNumberBuffers; ++i) {
    targets[i].mDataByteSize = 0;
    targets[i].mData = nullptr;
  }
  if (outDescription) *outDescription = nullptr;

  auto* const state = static_cast<ConversionState*>(inUserData);
  if (!state || !state->InputBuffers || state->InputBuffers->mNumberBuffers == 0) return noErr;
  const AudioBuffer* const sources = state->InputBuffers->mBuffers;
  if (sources[0].mDataByteSize <= state->nConsumed) return noErr;  // the end

  // Packets of no size cannot be counted: there is then nothing that could be handed over.
  const std::uint32_t bytesPerPacket = state->InputDescription->mBytesPerPacket;
  if (bytesPerPacket == 0) return noErr;
  const std::uint64_t remaining = sources[0].mDataByteSize - state->nConsumed;
  const std::uint32_t wanted = requested * bytesPerPacket;  // deliberately a 32-bit product
  const auto chunk = static_cast<std::uint32_t>(std::min<std::uint64_t>(wanted, remaining));

  // A converter that asks for more buffers than there are gets the ones that there are.
  const std::uint32_t buffers =
      std::min(ioData->mNumberBuffers, state->InputBuffers->mNumberBuffers);
  for (std::uint32_t i = 0; i < buffers; ++i) {
    targets[i].mDataByteSize = chunk;
    targets[i].mData = static_cast<unsigned char*>(sources[i].mData) + state->nConsumed;
  }
  state->nConsumed += chunk;
  *ioNumberDataPackets = chunk / bytesPerPacket;
  return noErr;
}

}  // namespace

bool QTDeviceFormatConvertAudioSamples(OpaqueAudioConverter* converter, AudioBufferList* input,
                                       AudioStreamBasicDescription const& inputDescription,
                                       unsigned char* output, unsigned int outputSize,
                                       unsigned int& frames,
                                       AudioStreamBasicDescription const& outputDescription) {
  frames = 0;
  if (outputDescription.mBytesPerPacket == 0) return false;
  frames = outputSize / outputDescription.mBytesPerPacket;

  AudioBufferList list{.mNumberBuffers = 1,
                       .mBuffers = {{.mNumberChannels = outputDescription.mChannelsPerFrame,
                                     .mDataByteSize = outputSize,
                                     .mData = output}}};
  ConversionState state{
      .InputDescription = &inputDescription, .InputBuffers = input, .nConsumed = 0};
  if (AudioConverterFillComplexBuffer(converter, QTDeviceFormatConvertAudioOutputCallBack, &state,
                                      &frames, &list, nullptr) != noErr) {
    return false;
  }
  AudioConverterReset(converter);
  return true;
}
