// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_FRAMESTAMP_H
#define ZORVEX_PLATFORM_SIMULATED_FRAMESTAMP_H

#include <gst/gst.h>

#include <cstdint>
#include <string_view>

#include "platform/simulated/tapecounter.h"

/// The text that is burnt into a frame.
class FrameStamp {
 public:
  /// A camera's: the frame number in six digits, counting goes round after 999999.
  explicit FrameStamp(std::uint64_t frameNumber);
  /// A tape's: the time code, ';' in front of the frames of drop-frame counting.
  FrameStamp(const TapeTime& time, bool dropFrame);

  std::string_view Text() const { return {text_, length_}; }

 private:
  void Append(std::uint64_t value, int digits);

  char text_[11] = {};
  std::size_t length_ = 0;
};

/// Gives a buffer its time code. The meta stays with a pooled buffer, so that a running source
/// allocates none.
void SetTimeCode(GstBuffer* buffer, const TapeTime& time, FrameRate rate, bool dropFrame);

#endif  // ZORVEX_PLATFORM_SIMULATED_FRAMESTAMP_H
