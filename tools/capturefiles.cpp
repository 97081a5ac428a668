// SPDX-License-Identifier: MIT
#include "tools/capturefiles.h"

#include "tools/outputfile.h"
#include "tools/png.h"

namespace {

/// Writes a picture; the name of the file, or empty when there is none.
std::string WritePicture(const Picture& picture, const std::string& file,
                         const FrameSummary& summary) {
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

}  // namespace

CaptureFiles::CaptureFiles(const CaptureOptions& options)
    : options_(options), recorder_(options.wav) {
  if (!options.movie.empty()) CheckWritable(options.movie, "the movie");
  if (!options.snapshot.empty()) CheckWritable(options.snapshot, "the picture");
  if (!options.contactSheet.empty()) CheckWritable(options.contactSheet, "the picture");
  if (!options.wav.empty()) CheckWritable(options.wav, "the sound");
}

void CaptureFiles::Collect(CaptureSink& sink) {
  recorder_.Collect(sink);
  while (const KeptFrame* frame = sink.TakeCopy()) {
    album_.Add(*frame);
    sink.GiveCopyBack();
  }
}

bool CaptureFiles::AreUseless() const {
  return !recorder_.Error().empty() && options_.movie.empty() && options_.snapshot.empty() &&
         options_.contactSheet.empty();
}

Report CaptureFiles::Write(const CaptureSink& sink) const {
  Report report;
  const FrameSummary frames = sink.Frames();
  const SoundSummary sound = sink.Sound();
  if (sink.Wishes().pictures) report.pictures = frames;
  if (sink.Wishes().sound) report.sound = sound;
  report.snapshot = WritePicture(album_.Snapshot().value_or(Picture()), options_.snapshot, frames);
  report.contactSheet = WritePicture(album_.ContactSheet(), options_.contactSheet, frames);
  if (FileBytes(options_.movie) > 0) report.movie = options_.movie;
  if (report.movie != options_.movie && frames.frames + sound.frames > 0) {
    Complain("the movie \"" + options_.movie + "\" was not written.");
  }
  report.wav = recorder_.File();
  if (!recorder_.Error().empty()) Complain(recorder_.Error());
  return report;
}

bool CaptureFiles::AreAllIn(const Report& report) const {
  return report.movie == options_.movie && report.snapshot == options_.snapshot &&
         report.contactSheet == options_.contactSheet && report.wav == options_.wav &&
         recorder_.Error().empty();
}
