// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_TRANSPORT_H
#define ZORVEX_TOOLS_TRANSPORT_H

#include <optional>
#include <string>

#include "tools/devicereference.h"
#include "tools/exitcode.h"
#include "tools/options.h"

/// The mode that the word stands for.
std::optional<ZRVXDeviceTransportMode> ParseTransportMode(const std::string& word);

/// Whether the device has a tape transport, and that says that the tape is stopped.
bool IsTapeStandingStill(const DeviceReference& device);

/// Plays the tape of a device for as long as this object lives, if it has one that stands still;
/// then stops it again.
class PlayingTape {
 public:
  /// Waits until the tape plays, five seconds at most.
  explicit PlayingTape(const DeviceReference& device);
  ~PlayingTape();
  PlayingTape(const PlayingTape&) = delete;
  PlayingTape& operator=(const PlayingTape&) = delete;

 private:
  const unsigned long handle_;
  const bool played_;
};

/// The command "transport". Throws Failure.
ExitCode RunTransport(const TransportOptions& options);

#endif  // ZORVEX_TOOLS_TRANSPORT_H
