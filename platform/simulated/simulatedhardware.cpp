// SPDX-License-Identifier: MIT
#include "platform/simulated/simulatedhardware.h"

#include <utility>

SimulatedHardware::SimulatedHardware(SimulatedDescription description)
    : description_(std::move(description)),
      counter_(description_.rate, description_.dropFrame),
      tapePosition_(counter_.FrameAt(description_.tapeStart).value_or(0)) {}

bool SimulatedHardware::IsConnected() const {
  const std::lock_guard lock(mutex_);
  if (!plugPulled_) return true;
  return description_.replugAfter &&
         std::chrono::steady_clock::now() - pulledAt_ >= *description_.replugAfter;
}

bool SimulatedHardware::PullPlugAfter(std::uint64_t frames) {
  if (!description_.unplugAfter || frames < *description_.unplugAfter) return false;
  const std::lock_guard lock(mutex_);
  if (plugPulled_) return false;
  plugPulled_ = true;
  pulledAt_ = std::chrono::steady_clock::now();
  return true;
}
