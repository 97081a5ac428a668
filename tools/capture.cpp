// SPDX-License-Identifier: MIT
#include "tools/capture.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "tools/album.h"
#include "tools/framesink.h"
#include "tools/interruption.h"
#include "tools/opendevice.h"
#include "tools/outputfile.h"
#include "tools/png.h"
#include "tools/progress.h"
#include "tools/report.h"

namespace {

enum class End { Complete, Interrupted, Unplugged, Stalled, DiskFull };

void Complain(const std::string& message) {
  std::fprintf(stderr, "zvcap: %s\n", message.c_str());
}

void CheckFiles(const CaptureOptions& options) {
  if (!options.movie.empty()) CheckWritable(options.movie, "the movie");
  if (!options.snapshot.empty()) CheckWritable(options.snapshot, "the picture");
  if (!options.contactSheet.empty()) CheckWritable(options.contactSheet, "the picture");
}

void CollectPictures(FrameSink& sink, Album& album) {
  while (const KeptFrame* frame = sink.TakeCopy()) {
    album.Add(*frame);
    sink.GiveCopyBack();
  }
}

/// Whether a capture that is over in time ended in silence: a device that had stalled.
bool EndedInSilence(const CaptureState& state) {
  constexpr double leastSilence = 1;
  constexpr double usualIntervals = 5;
  const double delivering = state.seconds - state.sinceLatest;
  const double interval = delivering / static_cast<double>(std::max(state.frames, 1ul));
  return state.sinceLatest > std::max(leastSilence, usualIntervals * interval);
}

std::optional<End> EndOf(const OpenDevice& device, const CaptureOptions& options,
                         const CaptureState& state) {
  constexpr double patience = 5;
  if (state.interrupted) return End::Interrupted;
  if (state.complete) return EndedInSilence(state) ? End::Stalled : End::Complete;
  if (!device.IsConnected()) return End::Unplugged;
  if (state.sinceLatest > patience) return End::Stalled;
  if (!options.movie.empty() && IsDiskFull(options.movie)) return End::DiskFull;
  return std::nullopt;
}

/// Waits for the end of the capture, and makes its pictures meanwhile.
End Watch(const OpenDevice& device, const CaptureOptions& options, FrameSink& sink, Album& album) {
  constexpr auto lookInterval = std::chrono::milliseconds(200);
  const Progress progress;
  for (;;) {
    sink.Wait(CaptureClock::now() + lookInterval);
    CollectPictures(sink, album);
    const CaptureState state = sink.State();
    progress.Show(state);
    if (const auto end = EndOf(device, options, state)) return *end;
  }
}

End Capture(const CaptureOptions& options, FrameSink& sink, Interruption& interruption,
            Album& album) {
  OpenDevice device(options.device);
  interruption.Defer();
  device.Start(options, sink);
  const End end = Watch(device, options, sink, album);
  device.Stop();
  CollectPictures(sink, album);
  return end;
}

ExitCode Explain(End end, const CaptureOptions& options, unsigned long frames) {
  const std::string name = "\"" + options.device + "\"";
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
      Complain(frames == 0 ? name + " delivers nothing. A tape device has to be playing."
                           : name + " delivers nothing any more; the capture ends early.");
      return ExitCode::Lost;
    case End::DiskFull:
      Complain("the disk is full; the movie \"" + options.movie + "\" ends early.");
      return ExitCode::CannotWrite;
  }
  return ExitCode::Done;
}

/// Writes a picture; the name of the file, or empty when there is none.
std::string Write(const Picture& picture, const std::string& file, const FrameSummary& summary) {
  if (file.empty() || summary.frames == 0) return {};
  try {
    if (picture.rgb.empty()) {
      throw Failure(ExitCode::CannotWrite,
                    "cannot make a picture of the pixel format " +
                        PixelFormatText(summary.format.pixelFormat) +
                        "; choose another one with --pixel-format, such as BGRA.");
    }
    WritePng(picture, file);
    return file;
  } catch (const Failure& failure) {
    Complain(failure.what());
    return {};
  }
}

Report WriteFiles(const CaptureOptions& options, const FrameSummary& summary, const Album& album) {
  Report report;
  report.summary = summary;
  report.snapshot = Write(album.Snapshot().value_or(Picture()), options.snapshot, summary);
  report.contactSheet = Write(album.ContactSheet(), options.contactSheet, summary);
  if (FileBytes(options.movie) > 0) report.movie = options.movie;
  if (!options.movie.empty() && report.movie.empty() && summary.frames > 0) {
    Complain("the movie \"" + options.movie + "\" was not written.");
  }
  return report;
}

}  // namespace

ExitCode RunCapture(const CaptureOptions& options) {
  CheckFiles(options);
  FrameSink sink({options.frames, options.seconds}, !options.snapshot.empty(),
                 !options.contactSheet.empty());
  Interruption interruption([&] { sink.Interrupt(); });
  Album album;
  const End end = Capture(options, sink, interruption, album);
  const FrameSummary summary = sink.Summary();
  const ExitCode code = Explain(end, options, summary.frames);
  const Report report = WriteFiles(options, summary, album);
  options.json ? PrintJsonReport(report) : PrintReport(report);
  const bool allWritten = report.movie == options.movie && report.snapshot == options.snapshot &&
                          report.contactSheet == options.contactSheet;
  return code == ExitCode::Done && !allWritten ? ExitCode::CannotWrite : code;
}
