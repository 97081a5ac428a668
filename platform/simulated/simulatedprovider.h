// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SIMULATEDPROVIDER_H
#define ZORVEX_PLATFORM_SIMULATED_SIMULATEDPROVIDER_H

#include <memory>
#include <string_view>

#include "platform/deviceprovider.h"

/// Cameras, tape decks and microphones that need no hardware: the standard ones and those that
/// `description` adds or changes (docs/simulated.md has its grammar; the environment's is in
/// ZORVEX_SIMULATED).
std::unique_ptr<DeviceProvider> NewSimulatedProvider(std::string_view description);

#endif  // ZORVEX_PLATFORM_SIMULATED_SIMULATEDPROVIDER_H
