// SPDX-License-Identifier: MIT
#include "platform/dv/dvframe.h"

#include <algorithm>

namespace gstreamer {

namespace {

constexpr std::size_t kSoundBlocks = 9;      ///< in a sequence, the first at block 6
constexpr std::size_t kSoundBlockStep = 16;  ///< one of sound, fifteen of the picture
constexpr std::size_t kVideoAuxiliary = 3;   ///< the first of three blocks
constexpr std::size_t kPacksInBlock = 15;
constexpr std::size_t kBlockHeader = 3;  ///< the bytes of a block's own address
constexpr std::size_t kPackSize = 5;

constexpr std::uint8_t kVideoSource = 0x60;
constexpr std::uint8_t kVideoControl = 0x61;
constexpr std::uint8_t kSoundControl = 0x51;
constexpr std::uint8_t kForward = 0x80;  ///< a bit of the speed byte

std::size_t SoundPackAt(std::size_t sequence, std::size_t block) {
  return sequence * kDvSequenceSize + (6 + kSoundBlockStep * block) * kDvBlockSize + kBlockHeader;
}

DvPack PackAt(DvBytes frame, std::size_t at) {
  DvPack pack;
  std::ranges::copy(frame.subspan(at + 1, pack.size()), pack.begin());
  return pack;
}

std::optional<DvPack> FindVideoPack(DvBytes frame, std::uint8_t number) {
  for (std::size_t start = 0; start < frame.size(); start += kDvSequenceSize) {
    for (std::size_t block = kVideoAuxiliary; block < kVideoAuxiliary + 3; ++block) {
      for (std::size_t i = 0; i < kPacksInBlock; ++i) {
        const std::size_t at = start + block * kDvBlockSize + kBlockHeader + i * kPackSize;
        if (frame[at] == number) return PackAt(frame, at);
      }
    }
  }
  return std::nullopt;
}

/// The codes of normal speed: that of consumer tapes, and those of professional ones, which count
/// fields.
bool IsNormal(std::uint8_t speed, DvSystem system) {
  return speed == 0x20 || speed == (system == DvSystem::Lines625 ? 0x64 : 0x78);
}

}  // namespace

std::optional<DvSystem> DvSystemOf(DvBytes bytes) {
  // The header block of the first sequence; what stands in its last bits differs among decks.
  if (bytes.size() < kDvHeaderSize || bytes[0] != 0x1f || (bytes[1] & 0xf0) != 0 || bytes[2] != 0 ||
      (bytes[3] & 0x7f) != 0x3f) {
    return std::nullopt;
  }
  return (bytes[3] & 0x80) != 0 ? DvSystem::Lines625 : DvSystem::Lines525;
}

std::optional<DvSystem> DvSystemOfFrame(DvBytes frame) {
  const auto system = DvSystemOf(frame);
  return system && frame.size() == DvFrameSize(*system) ? system : std::nullopt;
}

bool IsDv25(DvBytes frame) {
  const auto source = FindVideoPack(frame, kVideoSource);
  return !source || (*source)[2] == 0xff || ((*source)[2] & 0x1f) == 0;
}

std::optional<DvPack> FindDvSoundPack(DvBytes frame, std::uint8_t number,
                                      bool (*isLegal)(const DvPack& pack)) {
  for (std::size_t sequence = 0; sequence < frame.size() / kDvSequenceSize; ++sequence) {
    for (std::size_t block = 0; block < kSoundBlocks; ++block) {
      const std::size_t at = SoundPackAt(sequence, block);
      if (frame[at] != number) continue;
      const DvPack pack = PackAt(frame, at);
      if (isLegal(pack)) return pack;
    }
  }
  return std::nullopt;
}

bool IsDvWide(DvBytes frame) {
  const auto control = FindVideoPack(frame, kVideoControl);
  if (!control) return false;
  const int display = (*control)[1] & 0x07;
  const bool isConsumer = (frame[4] & 0x07) == 0;
  return display == 2 || (isConsumer && display == 7);
}

bool IsDvAtNormalSpeed(DvBytes frame) {
  const auto system = DvSystemOf(frame);
  const auto pack = FindDvSoundPack(frame, kSoundControl,
                                    [](const DvPack& candidate) { return candidate[2] != 0xff; });
  if (!system || !pack) return true;
  const std::uint8_t speed = (*pack)[2];
  return (speed & kForward) != 0 && IsNormal(speed & 0x7f, *system);
}

void SetDvSpeed(std::span<std::uint8_t> frame, std::uint8_t speed) {
  for (std::size_t sequence = 0; sequence < frame.size() / kDvSequenceSize; ++sequence) {
    for (std::size_t block = 0; block < kSoundBlocks; ++block) {
      const std::size_t at = SoundPackAt(sequence, block);
      if (frame[at] == kSoundControl) frame[at + 3] = speed;
    }
  }
}

std::uint8_t DvSpeedCode(std::int64_t speed) {
  constexpr std::int64_t kNormal = 480;
  const std::int64_t magnitude = speed < 0 ? -speed : speed;
  // Three bits for the power of two that the speed has reached, four for the way to the next one:
  // normal speed is 20h, the slowest that can be told is a quarter.
  int power = 0;
  while (power < 7 && magnitude * 4 >= kNormal << (power + 1))
    ++power;
  const std::int64_t base = kNormal << power;
  const std::int64_t sixteenths =
      std::clamp<std::int64_t>((magnitude * 4 - base) * 16 / base, 0, 15);
  const auto code = static_cast<std::uint8_t>(power << 4 | static_cast<int>(sixteenths));
  return static_cast<std::uint8_t>(speed < 0 ? code : code | kForward);
}

}  // namespace gstreamer
