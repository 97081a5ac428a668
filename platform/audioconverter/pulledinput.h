// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_PULLEDINPUT_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_PULLEDINPUT_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/audioconverter.h"
#include "platform/audioconverter/pcmformat.h"

constexpr OSStatus kParameterError = -50;
constexpr OSStatus kNoMemoryError = -108;

/// What an input procedure has handed out and the converter has not used yet. It is used where it
/// is, as long as the conversion lasts during which it came.
///
/// A procedure may hand out more or less than it was asked for. What is no whole frame at the end
/// of a buffer is left out; so is what one channel has more than another. Less than one frame is
/// the end of the input.
class PulledInput {
 public:
  explicit PulledInput(const PcmFormat& format);

  /// Asks the procedure for `frames` frames, or as many as it can be asked for at once. A status
  /// other than 0 is the procedure's, or kParameterError for buffers that it took away or left
  /// without data.
  OSStatus Pull(AudioConverterRef converter, AudioConverterComplexInputDataProc procedure,
                void* userData, std::uint64_t frames);
  bool HasEnded() const { return hasEnded_; }

  std::size_t Frames() const { return frames_; }
  /// The place of the first unused frame in each buffer.
  const std::byte* const* Buffers() const { return next_.data(); }
  void Use(std::size_t frames);

  /// Copies what is unused: the conversion during which it came ends. Allocates when there is more
  /// than ever before.
  void Keep();
  void Reset();

 private:
  OSStatus Take(std::uint32_t packets);

  std::size_t channels_;
  std::size_t frameBytes_;
  std::vector<const std::byte*> next_;
  std::size_t frames_ = 0;
  bool hasEnded_ = false;
  /// A list with room for all buffers, in memory of its alignment.
  std::vector<AudioBufferList> list_;
  std::vector<std::byte> kept_;
  bool isKept_ = false;  ///< what is unused stands in kept_
};

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_PULLEDINPUT_H
