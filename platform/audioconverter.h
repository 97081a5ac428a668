// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_H

#include <zorvex/platform/coreaudiotypes.h>

class OpaqueAudioConverter;
using AudioConverterRef = OpaqueAudioConverter*;

/// Gives a converter its input.
///
/// \param ioNumberDataPackets       in: how many packets the converter would like; out: how many
///                                  the buffers hold, 0 at the end of the input
/// \param ioData                    as many buffers as the input has; to be pointed at data that
///                                  stays until the next call or the end of the conversion
/// \param outDataPacketDescription  may be null
/// \param inUserData                what was given to the conversion
/// \return 0, or a status that ends the conversion and becomes its result
using AudioConverterComplexInputDataProc = OSStatus (*)(
    AudioConverterRef converter, std::uint32_t* ioNumberDataPackets, AudioBufferList* ioData,
    AudioStreamPacketDescription** outDataPacketDescription, void* inUserData);

/// Converts linear PCM from one rate, channel count and sample format to another. Used by one
/// thread at a time.
class OpaqueAudioConverter {
 public:
  virtual ~OpaqueAudioConverter() = default;

  /// Pulls input through `inInputDataProc` until the output has `ioOutputDataPacketSize` packets
  /// (frames, for PCM) or its buffers are full, or the input ends: then everything that is left
  /// comes out. `ioOutputDataPacketSize` becomes the number of packets produced, and mDataByteSize
  /// of each output buffer their size. 0 on success. Allocates nothing once input of the same size
  /// has been converted.
  virtual OSStatus FillComplexBuffer(AudioConverterComplexInputDataProc inInputDataProc,
                                     void* inInputDataProcUserData,
                                     std::uint32_t* ioOutputDataPacketSize,
                                     AudioBufferList* outOutputData,
                                     AudioStreamPacketDescription* outPacketDescription) = 0;
  /// Forgets all input: the next conversion begins anew.
  virtual OSStatus Reset() = 0;
};

/// Makes a converter, which belongs to the caller. A format that it cannot read or write is refused
/// here: every other status than 0 leaves `*outAudioConverter` null.
OSStatus AudioConverterNew(const AudioStreamBasicDescription* inSourceFormat,
                           const AudioStreamBasicDescription* inDestinationFormat,
                           AudioConverterRef* outAudioConverter);

inline OSStatus AudioConverterFillComplexBuffer(
    AudioConverterRef converter, AudioConverterComplexInputDataProc inInputDataProc,
    void* inInputDataProcUserData, std::uint32_t* ioOutputDataPacketSize,
    AudioBufferList* outOutputData, AudioStreamPacketDescription* outPacketDescription) {
  return converter->FillComplexBuffer(inInputDataProc, inInputDataProcUserData,
                                      ioOutputDataPacketSize, outOutputData, outPacketDescription);
}

inline OSStatus AudioConverterReset(AudioConverterRef converter) {
  return converter->Reset();
}

inline OSStatus AudioConverterDispose(AudioConverterRef converter) {
  delete converter;
  return noErr;
}

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_H
