// SPDX-License-Identifier: MIT
#include "tools/capture.h"

#include <algorithm>
#include <chrono>

#include "tools/capturefiles.h"
#include "tools/interruption.h"
#include "tools/opendevice.h"
#include "tools/outputfile.h"
#include "tools/progress.h"
#include "tools/transport.h"

namespace {

enum class End { Complete, Interrupted, Unplugged, Stalled, Silent, DiskFull, Useless };

/// What the capture gives, from a device that has to be able to. Throws Failure when it is not.
CaptureWishes Wishes(const CaptureOptions& options, const DeviceReference& device) {
  const auto refuse = [&](const char* reason) {
    throw Failure(ExitCode::Unable, Quoted(device.Name()) + reason);
  };
  CaptureWishes wishes;
  wishes.goal = {options.frames, options.seconds};
  wishes.pictures = device.Has(ZRVXDeviceMediaTypeVideo);
  wishes.sound = options.sound || !wishes.pictures;
  wishes.snapshot = !options.snapshot.empty();
  wishes.sheet = !options.contactSheet.empty();
  wishes.keepSound = !options.wav.empty();
  const bool framesWanted = options.frames != 0 || options.width != 0 || options.pixelFormat != 0 ||
                            wishes.snapshot || wishes.sheet;
  if (framesWanted && !wishes.pictures) refuse(" sends no pictures.");
  const bool sendsSound = device.Has(ZRVXDeviceMediaTypeAudio);
  if (wishes.sound && options.soundDevice.empty() && !sendsSound) {
    refuse(" sends no sound. Name a sound device with --audio-device.");
  }
  if (!options.soundDevice.empty() && sendsSound) {
    refuse(" sends sound itself, and no other device's is captured with it.");
  }
  return wishes;
}

/// Whether the pictures of a capture that is over in time ended before: a device that had stalled.
bool EndedInSilence(const CaptureState& state) {
  constexpr double leastSilence = 1;
  constexpr double usualIntervals = 5;
  const double delivering = state.seconds - state.sinceLatest;
  const double interval = delivering / static_cast<double>(std::max(state.frames, 1ul));
  return state.sinceLatest > std::max(leastSilence, usualIntervals * interval);
}

End EndInTime(const CaptureState& state) {
  constexpr double leastSilence = 1;  // sound comes many times a second
  if (EndedInSilence(state)) return End::Stalled;
  return state.sinceLatestSound > leastSilence ? End::Silent : End::Complete;
}

std::optional<End> EndOf(const OpenDevice& device, const CaptureOptions& options,
                         const CaptureState& state, const CaptureFiles& files) {
  constexpr double patience = 5;
  if (state.interrupted) return End::Interrupted;
  if (state.complete) return EndInTime(state);
  if (!device.Reference().IsConnected()) return End::Unplugged;
  if (state.sinceLatest > patience) return End::Stalled;
  if (state.sinceLatestSound > patience) return End::Silent;
  if (files.AreUseless()) return End::Useless;
  if (!options.movie.empty() && IsDiskFull(options.movie)) return End::DiskFull;
  return std::nullopt;
}

/// Waits for the end of the capture, and makes its files meanwhile.
End Watch(const OpenDevice& device, const CaptureOptions& options, CaptureSink& sink,
          CaptureFiles& files) {
  constexpr auto lookInterval = std::chrono::milliseconds(200);
  const Progress progress;
  for (;;) {
    sink.Wait(CaptureClock::now() + lookInterval);
    files.Collect(sink);
    const CaptureState state = sink.State();
    progress.Show(state);
    if (const auto end = EndOf(device, options, state, files)) return *end;
  }
}

End Capture(const CaptureOptions& options, std::optional<CaptureSink>& sink,
            Interruption& interruption, CaptureFiles& files) {
  OpenDevice device(options.device, options.soundDevice);
  sink.emplace(Wishes(options, device.Reference()));
  interruption.Defer();
  std::optional<PlayingTape> tape;
  if (options.transport) tape.emplace(device.Reference());
  device.Start(options, *sink);
  const End end = Watch(device, options, *sink, files);
  device.Stop();
  files.Collect(*sink);
  return end;
}

ExitCode Explain(End end, const CaptureOptions& options, const CaptureSink& sink) {
  const std::string name = Quoted(options.device);
  const std::string soundName = options.soundDevice.empty() ? name : Quoted(options.soundDevice);
  const bool soundCame = sink.Sound().frames > 0;
  switch (end) {
    case End::Complete:
      return ExitCode::Done;
    case End::Interrupted:
      Complain("interrupted");
      return ExitCode::Interrupted;
    case End::Unplugged:
      Complain(name + " was unplugged; the capture ends early.");
      return ExitCode::Lost;
    case End::Stalled:
      Complain(name + (sink.Frames().frames > 0 || soundCame
                           ? " delivers nothing any more; the capture ends early."
                       : sink.Wishes().pictures
                           ? " delivers nothing. A tape device has to be playing."
                           : " delivers nothing."));
      return ExitCode::Lost;
    case End::Silent:
      Complain(soundName + (soundCame ? " delivers no sound any more; the capture ends early."
                                      : " delivers no sound."));
      return ExitCode::Lost;
    case End::DiskFull:
      Complain("the disk is full; the movie \"" + options.movie + "\" ends early.");
      return ExitCode::CannotWrite;
    case End::Useless:
      return ExitCode::CannotWrite;  // the file's own complaint follows
  }
  return ExitCode::Done;
}

}  // namespace

ExitCode RunCapture(const CaptureOptions& options) {
  CaptureFiles files(options);
  std::optional<CaptureSink> sink;
  Interruption interruption([&] { sink->Interrupt(); });  // not before it is deferred
  const End end = Capture(options, sink, interruption, files);
  const ExitCode code = Explain(end, options, *sink);
  const Report report = files.Write(*sink);
  options.json ? PrintJsonReport(report) : PrintReport(report);
  return code == ExitCode::Done && !files.AreAllIn(report) ? ExitCode::CannotWrite : code;
}
