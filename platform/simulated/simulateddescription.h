// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SIMULATEDDESCRIPTION_H
#define ZORVEX_PLATFORM_SIMULATED_SIMULATEDDESCRIPTION_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/cvpixelbuffer.h"
#include "platform/simulated/tapecounter.h"

/// What one simulated device is and how it fails.
struct SimulatedDescription {
  enum class Kind { Camera, Camcorder };
  enum class Opening { Works, Refused, Hangs };

  Kind kind = Kind::Camera;
  std::string name;
  int width = 0;
  int height = 0;
  FrameRate rate;
  std::uint32_t pixelFormat = FourCharCode("2vuy");
  TapeTime tapeStart;  ///< of a camcorder, as the next
  bool dropFrame = false;

  bool busy = false;
  Opening opening = Opening::Works;
  /// The failures of a running device, each after so many frames.
  std::optional<std::uint64_t> unplugAfter;
  std::optional<std::uint64_t> stallAfter;
  std::optional<std::uint64_t> hangAfter;
  std::optional<std::chrono::milliseconds> replugAfter;
  std::chrono::milliseconds hangFor{10000};

  bool operator==(const SimulatedDescription&) const = default;
};

struct SimulatedDescriptions {
  /// The standard camera, the standard camcorder, then the others in the order of the text.
  std::vector<SimulatedDescription> devices;
  /// The entries that were left out, as they stand in the text.
  std::vector<std::string> broken;
};

/// Reads the text of ZORVEX_SIMULATED; docs/simulated.md has its grammar. An entry that is not
/// understood to its last option is left out as a whole, so that no device appears that differs
/// from what was asked for.
SimulatedDescriptions ParseSimulated(std::string_view text);

#endif  // ZORVEX_PLATFORM_SIMULATED_SIMULATEDDESCRIPTION_H
