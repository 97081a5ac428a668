// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_TAPEDRIVES_H
#define ZORVEX_PLATFORM_SIMULATED_TAPEDRIVES_H

#include <cstdint>
#include <optional>

#include "platform/avc/avcframe.h"
#include "platform/simulated/tapetransport.h"

constexpr TapeDrive kTapeStopped{.operation = avc::kWind, .mode = avc::kStop};
constexpr TapeDrive kTapePlaying{
    .operation = avc::kPlay, .mode = avc::kForward, .speed = kTapeUnits, .isViewable = true};

/// What an AV/C command makes the simulated decks do; docs/simulated.md has the table. None for an
/// operation or a mode that they do not have.
std::optional<TapeDrive> TapeDriveFor(std::uint8_t operation, std::uint8_t mode);

#endif  // ZORVEX_PLATFORM_SIMULATED_TAPEDRIVES_H
