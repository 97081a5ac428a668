// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_DV_DVFRAME_H
#define ZORVEX_PLATFORM_DV_DVFRAME_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// \file
/// The layout of a DV frame (IEC 61834-2, SMPTE 314M, 25 Mbit/s): sequences of 150 blocks of 80
/// bytes, ten of them at 525 lines and twelve at 625. Frames come from tapes and wires, so nothing
/// in them is believed before it was looked at.
namespace gstreamer {

using DvBytes = std::span<const std::uint8_t>;

enum class DvSystem { Lines525, Lines625 };

constexpr std::size_t kDvBlockSize = 80;
constexpr std::size_t kDvSequenceSize = 150 * kDvBlockSize;
constexpr std::size_t kDvHeaderSize = 8;  ///< what DvSystemOf looks at
constexpr std::size_t kDvLargestFrame = 12 * kDvSequenceSize;

constexpr std::size_t DvSequences(DvSystem system) {
  return system == DvSystem::Lines625 ? 12 : 10;
}
constexpr std::size_t DvFrameSize(DvSystem system) {
  return DvSequences(system) * kDvSequenceSize;
}

/// The system of the frame that begins with these bytes; none when no frame begins there.
std::optional<DvSystem> DvSystemOf(DvBytes bytes);
/// The system of a whole frame; none for anything else.
std::optional<DvSystem> DvSystemOfFrame(DvBytes frame);
/// Whether a frame does not say that it is one of a stream of more than 25 Mbit/s. Those begin
/// alike, and go on where a frame of this size ends.
bool IsDv25(DvBytes frame);

/// The four bytes of an auxiliary pack. Byte n of a pack as the standards count, the pack's number
/// being its byte 0, is element n - 1.
using DvPack = std::array<std::uint8_t, 4>;

/// The first of the copies that a frame has of a pack about its sound (50h to 5Fh), of those that
/// `isLegal` takes.
std::optional<DvPack> FindDvSoundPack(DvBytes frame, std::uint8_t number,
                                      bool (*isLegal)(const DvPack& pack));
/// Whether the picture is 16:9.
bool IsDvWide(DvBytes frame);

/// Whether the tape ran forward at normal speed under the head that read the frame: while a deck
/// searches, its frames are put together from several and their sound is none. True as well for a
/// frame that does not say.
bool IsDvAtNormalSpeed(DvBytes frame);
/// Marks a frame as read in a search. `speed` is the code of byte 3 of the sound control pack.
void SetDvSpeed(std::span<std::uint8_t> frame, std::uint8_t speed);

/// The code of a speed other than normal, in 480ths of it, as that byte has it.
std::uint8_t DvSpeedCode(std::int64_t speed);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_DV_DVFRAME_H
