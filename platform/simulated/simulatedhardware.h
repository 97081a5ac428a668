// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SIMULATEDHARDWARE_H
#define ZORVEX_PLATFORM_SIMULATED_SIMULATEDHARDWARE_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>

#include "platform/simulated/simulateddescription.h"

/// What a simulated device is made of: the part that the device and its sources share and that
/// stays when a source goes. Thread-safe.
class SimulatedHardware {
 public:
  explicit SimulatedHardware(SimulatedDescription description);

  const SimulatedDescription& Description() const { return description_; }
  const TapeCounter& Counter() const { return counter_; }

  bool IsConnected() const;
  /// Pulls the plug if that is due once so many frames have been delivered: once in the device's
  /// life. True when it did.
  bool PullPlugAfter(std::uint64_t frames);

  /// The frame that the tape stands at, counted in its day.
  std::uint64_t TapePosition() const { return tapePosition_; }
  void MoveTapeTo(std::uint64_t frame) { tapePosition_ = frame % counter_.FramesPerDay(); }

 private:
  const SimulatedDescription description_;
  const TapeCounter counter_;
  std::atomic<std::uint64_t> tapePosition_;

  mutable std::mutex mutex_;  ///< guards what follows
  bool plugPulled_ = false;
  std::chrono::steady_clock::time_point pulledAt_;
};

#endif  // ZORVEX_PLATFORM_SIMULATED_SIMULATEDHARDWARE_H
