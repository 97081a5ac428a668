// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_AUDIOFORMAT_H
#define ZORVEX_TOOLS_AUDIOFORMAT_H

#include <cstddef>
#include <string>

/// Interleaved PCM, as ZRVXDeviceStartCapture is asked for it and as the sound callback tells it.
struct AudioFormat {
  unsigned int flags = 0;        ///< linear PCM flags, as ZRVXAudioCallBack explains them
  unsigned long sampleRate = 0;  ///< in Hz
  unsigned long channels = 0;
  unsigned long bytesPerSample = 0;  ///< of one channel

  bool IsFloat() const { return (flags & 1u) != 0; }
  std::size_t BytesPerFrame() const { return channels * bytesPerSample; }
  bool operator==(const AudioFormat&) const = default;
};

constexpr unsigned int kSignedPackedIntegers = 12;
constexpr unsigned int kPackedFloats = 9;

/// More channels are not asked for.
constexpr unsigned long kMostChannels = 8;

/// Takes apart RATE:CHANNELS:BYTES, with ":float" behind it for floating point. A part that is 0 is
/// left to the library; with ":float", 0 bytes are 4, as the library's default is for integers.
/// 1 byte is a signed integer as the longer ones are.
///
/// Throws std::invalid_argument, whose message tells what is wrong, also for sound that no
/// conversion gives: the library hands over 65535 bytes at most, 25 times a second.
AudioFormat ParseAudioFormat(const std::string& text);

/// "48000 Hz, 2 channels, 16-bit integers"
std::string AudioFormatText(const AudioFormat& format);

#endif  // ZORVEX_TOOLS_AUDIOFORMAT_H
