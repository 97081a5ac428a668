// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SIMULATEDDESCRIPTION_H
#define ZORVEX_PLATFORM_SIMULATED_SIMULATEDDESCRIPTION_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/cvpixelbuffer.h"
#include "platform/simulated/dvtape.h"
#include "platform/simulated/tapecounter.h"

/// What one simulated device is and how it fails.
struct SimulatedDescription {
  enum class Kind { Camera, Camcorder, Microphone };
  enum class Opening { Works, Refused, Hangs };
  /// How a camcorder answers to AV/C commands.
  enum class Avc { Works, Reject, Silent, Garbage, Short, Late };

  Kind kind = Kind::Camera;
  std::string name;
  int width = 0;  ///< of devices with a picture, as the next
  int height = 0;
  FrameRate rate;
  std::uint32_t pixelFormat = FourCharCode("2vuy");

  TapeTime tapeStart;  ///< of a camcorder, as the rest up to `avc`
  bool dropFrame = false;
  std::chrono::milliseconds tapeLength{3'600'000};
  std::string tapeFile;
  /// The contents of the file, which decide about picture, rate and length then.
  std::shared_ptr<const DvTape> tape;
  std::chrono::milliseconds spinUp{150};
  bool playsWhenOpened = false;
  Avc avc = Avc::Works;

  int sampleRate = 48000;  ///< of a microphone, as the next
  int channels = 2;
  std::optional<std::chrono::milliseconds> changeFormatAfter;

  bool busy = false;
  Opening opening = Opening::Works;
  /// The failures of a running device, each after so many frames, or pieces of sound.
  std::optional<std::uint64_t> unplugAfter;
  std::optional<std::uint64_t> stallAfter;
  std::optional<std::uint64_t> hangAfter;
  std::optional<std::chrono::milliseconds> replugAfter;
  std::chrono::milliseconds hangFor{10000};

  bool operator==(const SimulatedDescription&) const = default;
};

struct SimulatedDescriptions {
  /// The standard camera, camcorder and microphone, then the others in the order of the text.
  std::vector<SimulatedDescription> devices;
  /// The entries that were left out, as they stand in the text.
  std::vector<std::string> broken;
};

/// The frames of a camcorder's tape, 1 at least.
std::uint64_t TapeFrames(const SimulatedDescription& camcorder);

/// Reads the text of ZORVEX_SIMULATED; docs/simulated.md has its grammar. An entry that is not
/// understood to its last option is left out as a whole, so that no device appears that differs
/// from what was asked for; so is one whose tape cannot be loaded.
SimulatedDescriptions ParseSimulated(std::string_view text,
                                     const TapeLoader& loadTape = DvTape::Load);

#endif  // ZORVEX_PLATFORM_SIMULATED_SIMULATEDDESCRIPTION_H
