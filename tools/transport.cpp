// SPDX-License-Identifier: MIT
#include "tools/transport.h"

#include <chrono>
#include <cstdio>
#include <iterator>
#include <thread>

namespace {

/// In the order of ZRVXDeviceTransportMode.
const char* const modeWords[] = {"stop",           "play", "rewind", "forward", "shuttle-reverse",
                                 "shuttle-forward"};

/// What the deck does when it does that, or when it was waited for long enough.
ZRVXDeviceTransportMode WaitFor(unsigned long handle, ZRVXDeviceTransportMode wanted) {
  constexpr auto patience = std::chrono::seconds(5);  // a deck may have to thread its tape first
  constexpr auto lookInterval = std::chrono::milliseconds(100);
  const auto end = std::chrono::steady_clock::now() + patience;
  for (;;) {
    const ZRVXDeviceTransportMode mode = ZRVXDeviceGetTransportMode(handle);
    if (mode == wanted || std::chrono::steady_clock::now() >= end) return mode;
    std::this_thread::sleep_for(lookInterval);
  }
}

}  // namespace

std::optional<ZRVXDeviceTransportMode> ParseTransportMode(const std::string& word) {
  for (unsigned mode = 0; mode < std::size(modeWords); ++mode) {
    if (word == modeWords[mode]) return static_cast<ZRVXDeviceTransportMode>(mode);
  }
  return std::nullopt;
}

bool IsTapeStandingStill(const DeviceReference& device) {
  return ZRVXDeviceIsTransportAvailable(device.Handle()) &&
         ZRVXDeviceGetTransportMode(device.Handle()) == ZRVXDeviceTransportModeStop;
}

PlayingTape::PlayingTape(const DeviceReference& device)
    : handle_(device.Handle()), played_(IsTapeStandingStill(device)) {
  if (!played_) return;
  ZRVXDeviceSetTransportMode(handle_, ZRVXDeviceTransportModePlay);
  WaitFor(handle_, ZRVXDeviceTransportModePlay);
}

PlayingTape::~PlayingTape() {
  if (played_) ZRVXDeviceSetTransportMode(handle_, ZRVXDeviceTransportModeStop);
}

ExitCode RunTransport(const TransportOptions& options) {
  const DeviceReference device(options.device, ZRVXDeviceMediaTypeAny);
  if (!ZRVXDeviceIsTransportAvailable(device.Handle())) {
    throw Failure(ExitCode::Unable, Quoted(device.Name()) + " has no tape transport.");
  }
  if (!device.IsConnected()) device.CheckFree();
  if (options.mode) ZRVXDeviceSetTransportMode(device.Handle(), *options.mode);
  const ZRVXDeviceTransportMode mode = options.mode ? WaitFor(device.Handle(), *options.mode)
                                                    : ZRVXDeviceGetTransportMode(device.Handle());
  if (mode >= std::size(modeWords)) {
    throw Failure(ExitCode::Unable, "the deck of " + Quoted(device.Name()) + " does not answer.");
  }
  std::printf("%s\n", modeWords[mode]);
  if (!options.mode || mode == *options.mode) return ExitCode::Done;
  throw Failure(ExitCode::Unable, "the tape of " + Quoted(device.Name()) + " does not obey.");
}
