// SPDX-License-Identifier: MIT
#include "platform/avc/speedtable.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "platform/avc/avcframe.h"

namespace {

/// For the operands from avc::kSlowestForward on.
constexpr long kSpeeds[] = {1250,  2500,  3750,  5000,  6250,  7500,  8750, 10000,
                            11000, 12000, 13000, 14500, 16000, 17500, 19000};
constexpr std::size_t kCount = std::size(kSpeeds);
static_assert(avc::kSlowestForward + kCount - 1 == avc::kFastestForward);
static_assert(avc::kSlowestReverse + kCount - 1 == avc::kFastestReverse);

std::size_t NearestTo(long speed) {
  const auto* above = std::lower_bound(std::begin(kSpeeds), std::end(kSpeeds), speed);
  if (above == std::end(kSpeeds)) return kCount - 1;
  const auto index = static_cast<std::size_t>(above - kSpeeds);
  return index > 0 && speed - kSpeeds[index - 1] < *above - speed ? index - 1 : index;
}

}  // namespace

namespace avc {

std::uint8_t PlayModeForSpeed(long speed) {
  constexpr long kNormal = 10000, kFastest = kSpeeds[kCount - 1];
  // Clamped first: the lowest long has no opposite.
  const long clamped = std::clamp(speed, -kFastest, kFastest);
  const std::size_t index = NearestTo(clamped < 0 ? -clamped : clamped);
  // Every deck knows the plain commands, not every one the numbered speeds.
  if (kSpeeds[index] == kNormal) return clamped < 0 ? kReverse : kForward;
  return static_cast<std::uint8_t>((clamped < 0 ? kSlowestReverse : kSlowestForward) + index);
}

std::uint8_t LastOfRow(std::uint8_t mode) {
  if (mode > kForwardAtNormalSpeed && mode <= kFastestForward) return kFastestForward;
  if (mode > kReverseAtNormalSpeed && mode <= kFastestReverse) return kFastestReverse;
  if (mode >= kSlowestForward && mode < kForwardAtNormalSpeed) return kSlowestForward;
  if (mode >= kSlowestReverse && mode < kReverseAtNormalSpeed) return kSlowestReverse;
  return mode;
}

std::optional<long> SpeedOfPlayMode(std::uint8_t mode) {
  if (mode >= kSlowestForward && mode <= kFastestForward) return kSpeeds[mode - kSlowestForward];
  if (mode >= kSlowestReverse && mode <= kFastestReverse) return -kSpeeds[mode - kSlowestReverse];
  switch (mode) {
    case kForward:
      return 10000;
    case kReverse:
      return -10000;
    case kForwardPause:
    case kReversePause:
    case kNextFrame:
    case kPreviousFrame:
      return 0;
    default:
      return std::nullopt;
  }
}

}  // namespace avc
