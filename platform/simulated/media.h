// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_MEDIA_H
#define ZORVEX_PLATFORM_SIMULATED_MEDIA_H

#include <memory>

#include "platform/simulated/simulatedhardware.h"
#include "platform/simulated/sourceparts.h"

/// \file
/// What simulated devices show and sound like; docs/simulated.md describes it to the byte.

/// Pictures of a camera, or of a tape without a file: with time code then.
std::unique_ptr<SourceMedium> NewPictures(std::shared_ptr<SimulatedHardware> hardware);
/// The frames of a tape's file: a DV system stream. Those read in a search say so.
std::unique_ptr<SourceMedium> NewDvFrames(std::shared_ptr<SimulatedHardware> hardware);
/// The sound of a tape without a file, a piece for each frame that is played at normal speed.
std::unique_ptr<SourceMedium> NewTapeSound(std::shared_ptr<SimulatedHardware> hardware);
/// What a microphone hears, in pieces of a twenty-fifth of a second.
std::unique_ptr<SourceMedium> NewTones(std::shared_ptr<SimulatedHardware> hardware);

/// The pieces that a microphone's sound comes in, for each second.
constexpr FrameRate kMicrophonePieces{25, 1};
/// The sound of a tape without a file.
constexpr int kTapeSoundRate = 48000;
constexpr int kTapeSoundChannels = 2;

/// Caps of interleaved 16-bit sound, the lowest byte first.
GstPointer<GstCaps> SoundCaps(int rate, int channels);

#endif  // ZORVEX_PLATFORM_SIMULATED_MEDIA_H
