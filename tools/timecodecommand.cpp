// SPDX-License-Identifier: MIT
#include "tools/timecodecommand.h"

#include <cstdio>
#include <optional>

#include "tools/capturesink.h"
#include "tools/opendevice.h"
#include "tools/timecode.h"
#include "tools/transport.h"

namespace {

/// Throws when there is nothing more to wait for.
void CheckHope(const DeviceReference& device, const CaptureState& state) {
  constexpr double patience = 5;
  constexpr double shortPatience = 1;  // a frame of a tape that was stopped may be on its way
  const std::string name = Quoted(device.Name());
  if (state.frames > 0 && state.seconds > shortPatience) {
    throw Failure(ExitCode::Unable, name + " sends no time code.");
  }
  if (state.sinceLatest > shortPatience && IsTapeStandingStill(device)) {
    throw Failure(ExitCode::Lost, "the tape of " + name + " stands still.");
  }
  if (state.sinceLatest > patience) {
    throw Failure(ExitCode::Lost, name + " delivers nothing. A tape device has to be playing.");
  }
}

/// The first time code that comes with a frame. Not every frame of a tape need have one.
SMPTETime FirstTimeCode(const DeviceReference& device, CaptureSink& sink) {
  constexpr auto lookInterval = std::chrono::milliseconds(20);
  for (;;) {
    sink.Wait(CaptureClock::now() + lookInterval);
    if (const auto timeCode = sink.Frames().firstTimeCode) return *timeCode;
    CheckHope(device, sink.State());
  }
}

}  // namespace

ExitCode RunTimeCode(const TimeCodeOptions& options) {
  CaptureWishes wishes;
  wishes.goal.seconds = 60;  // longer than it is waited for
  CaptureSink sink(wishes);
  OpenDevice device(options.device);
  if (!device.Reference().Has(ZRVXDeviceMediaTypeVideo)) {
    throw Failure(ExitCode::Unable, Quoted(options.device) + " sends no pictures.");
  }
  std::optional<PlayingTape> tape;
  if (options.transport) tape.emplace(device.Reference());
  device.Start({}, sink);
  const SMPTETime timeCode = FirstTimeCode(device.Reference(), sink);
  device.Stop();
  std::printf("%s\n", TimeCodeText(timeCode).c_str());
  return ExitCode::Done;
}
