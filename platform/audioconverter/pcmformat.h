// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_PCMFORMAT_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_PCMFORMAT_H

#include <cstddef>
#include <optional>

#include "platform/coreaudiotypes.h"

constexpr std::size_t kMostPcmChannels = 64;

/// A description of linear PCM that was found consistent, in the terms of who reads and writes it.
struct PcmFormat {
  double rate;           ///< sample frames per second, from 1 to 6,144,000
  std::size_t channels;  ///< from 1 to kMostPcmChannels
  bool isFloat;
  bool isSigned;  ///< of integers
  bool isBigEndian;
  bool isInterleaved;    ///< true for one channel, whatever the description says
  unsigned sampleBytes;  ///< 1 to 4 for integers, 4 or 8 for floats
  unsigned bits;         ///< that carry sound, of an integer
  unsigned padding;      ///< unused bits below them; the rest of the unused ones is above

  std::size_t BufferCount() const { return isInterleaved ? 1 : channels; }
  /// Of one buffer.
  std::size_t FrameBytes() const { return sampleBytes * (isInterleaved ? channels : 1); }
  /// Whether a float would lose something: its mantissa holds integers of 24 bits.
  bool NeedsDouble() const { return isFloat ? sampleBytes == 8 : bits > 24; }
};

/// Nothing for a description that contradicts itself, or that has a flag beyond AudioFormatFlags.
/// What a description may leave open: a sample that fills its bytes is packed with or without the
/// flag, and the flag for signed integers says nothing about floats.
std::optional<PcmFormat> ReadPcmFormat(const AudioStreamBasicDescription& description);

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_PCMFORMAT_H
