// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_DV_DVSOUND_H
#define ZORVEX_PLATFORM_DV_DVSOUND_H

#include <cstdint>
#include <optional>

#include "platform/dv/dvframe.h"

namespace gstreamer {

/// The sound of one DV frame. The standards know 48000, 44100 and 32000 samples per second, of 16
/// bits, or of 12 bits and then up to four channels. Here it is stereo of 16 bits: of four channels
/// the first two, which are those that a camera records. Emphasis is left as it is.
struct DvSound {
  int rate = 0;          ///< sample frames per second
  int samples = 0;       ///< sample frames in this DV frame
  bool isShort = false;  ///< 12 bits on the tape
};

constexpr int kDvSoundChannels = 2;
constexpr int kDvMostSamples = 1944;

/// None for a frame without sound, or whose description of it makes no sense.
std::optional<DvSound> DvSoundOf(DvBytes frame);
/// Writes that many samples, channels interleaved. Those that the tape has marked as unreadable are
/// silent.
void ReadDvSound(DvBytes frame, const DvSound& sound, std::int16_t* samples);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_DV_DVSOUND_H
