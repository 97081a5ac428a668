// SPDX-License-Identifier: MIT
#include "platform/simulated/tapedrives.h"

#include <iterator>

namespace {

/// Of the play modes 31h to 3Fh, and of 41h to 4Fh in reverse.
constexpr std::int64_t kPlaySpeeds[] = {
    kTapeUnits / 32, kTapeUnits / 16, kTapeUnits / 10, kTapeUnits / 8,     kTapeUnits / 5,
    kTapeUnits / 3,  kTapeUnits / 2,  kTapeUnits,      kTapeUnits * 3 / 2, kTapeUnits * 2,
    kTapeUnits * 3,  kTapeUnits * 4,  kTapeUnits * 5,  kTapeUnits * 8,     kTapeUnits * 10};
static_assert(avc::kSlowestForward + std::size(kPlaySpeeds) - 1 == avc::kFastestForward);
static_assert(avc::kSlowestReverse + std::size(kPlaySpeeds) - 1 == avc::kFastestReverse);

constexpr std::int64_t kWindSpeed = 50 * kTapeUnits;
constexpr std::int64_t kHighWindSpeed = 100 * kTapeUnits;

std::optional<std::int64_t> PlaySpeed(std::uint8_t mode) {
  if (mode >= avc::kSlowestForward && mode <= avc::kFastestForward) {
    return kPlaySpeeds[mode - avc::kSlowestForward];
  }
  if (mode >= avc::kSlowestReverse && mode <= avc::kFastestReverse) {
    return -kPlaySpeeds[mode - avc::kSlowestReverse];
  }
  if (mode == avc::kForward) return kTapeUnits;
  if (mode == avc::kReverse) return -kTapeUnits;
  return std::nullopt;
}

std::optional<TapeDrive> PlayDrive(std::uint8_t mode) {
  TapeDrive drive{.operation = avc::kPlay, .mode = mode};
  switch (mode) {
    case avc::kForwardPause:
    case avc::kReversePause:
      return drive;
    case avc::kNextFrame:
    case avc::kPreviousFrame:
      drive.mode = avc::kForwardPause;  // the state that a step leads to
      drive.step = mode == avc::kNextFrame ? 1 : -1;
      return drive;
    default:
      break;
  }
  const auto speed = PlaySpeed(mode);
  if (!speed) return std::nullopt;
  drive.speed = *speed;
  drive.isViewable = true;
  return drive;
}

}  // namespace

std::optional<TapeDrive> TapeDriveFor(std::uint8_t operation, std::uint8_t mode) {
  if (operation == avc::kPlay) return PlayDrive(mode);
  if (operation != avc::kWind) return std::nullopt;
  TapeDrive drive{.operation = avc::kWind, .mode = mode};
  switch (mode) {
    case avc::kStop:
      return drive;
    case avc::kRewind:
      drive.speed = -kWindSpeed;
      return drive;
    case avc::kHighSpeedRewind:
      drive.speed = -kHighWindSpeed;
      return drive;
    case avc::kFastForward:
      drive.speed = kWindSpeed;
      return drive;
    default:
      return std::nullopt;
  }
}
