// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_COREAUDIOTYPES_H
#define ZORVEX_PLATFORM_COREAUDIOTYPES_H

#include <zorvex/platform/fourcharcode.h>

#include <cstdint>

/// A status of the sound functions: 0 is success, everything else a failure.
using OSStatus = std::int32_t;
constexpr OSStatus noErr = 0;

/// The only format that this platform's devices deliver and its converter knows.
constexpr std::uint32_t kAudioFormatLinearPCM = FourCharCode("lpcm");

/// The bits of AudioStreamBasicDescription::mFormatFlags for linear PCM. Without float and signed,
/// samples are unsigned integers; without big endian, the lowest byte comes first.
enum AudioFormatFlags : std::uint32_t {
  kAudioFormatFlagIsFloat = 1u << 0,
  kAudioFormatFlagIsBigEndian = 1u << 1,
  kAudioFormatFlagIsSignedInteger = 1u << 2,
  kAudioFormatFlagIsPacked = 1u << 3,          ///< the bits of a sample fill its bytes
  kAudioFormatFlagIsAlignedHigh = 1u << 4,     ///< where they do not: they are the highest ones
  kAudioFormatFlagIsNonInterleaved = 1u << 5,  ///< each channel in a buffer of its own
};

/// How sound is laid out in memory: the platform's record, fields in its order.
struct AudioStreamBasicDescription {
  double mSampleRate;               ///< sample frames per second
  std::uint32_t mFormatID;          ///< kAudioFormatLinearPCM
  std::uint32_t mFormatFlags;       ///< a union of AudioFormatFlags
  std::uint32_t mBytesPerPacket;    ///< of one buffer; 0 for compressed streams
  std::uint32_t mFramesPerPacket;   ///< 1
  std::uint32_t mBytesPerFrame;     ///< of one buffer
  std::uint32_t mChannelsPerFrame;  ///< of all buffers together
  std::uint32_t mBitsPerChannel;    ///< that carry sound, of one sample
  std::uint32_t mReserved;          ///< 0

  bool operator==(const AudioStreamBasicDescription&) const = default;
};

/// A piece of sound in memory that belongs to somebody else.
struct AudioBuffer {
  std::uint32_t mNumberChannels;  ///< interleaved in it
  std::uint32_t mDataByteSize;
  void* mData;
};

/// One buffer of interleaved sound, or one for each channel. More than one stand behind the first
/// in memory.
struct AudioBufferList {
  std::uint32_t mNumberBuffers;
  AudioBuffer mBuffers[1];
};

/// Describes a packet of a compressed stream; linear PCM has none.
struct AudioStreamPacketDescription {
  std::int64_t mStartOffset;
  std::uint32_t mVariableFramesInPacket;
  std::uint32_t mDataByteSize;
};

#endif  // ZORVEX_PLATFORM_COREAUDIOTYPES_H
