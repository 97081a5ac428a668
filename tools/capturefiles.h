// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_CAPTUREFILES_H
#define ZORVEX_TOOLS_CAPTUREFILES_H

#include <string>

#include "tools/album.h"
#include "tools/capturesink.h"
#include "tools/options.h"
#include "tools/report.h"
#include "tools/soundrecorder.h"

/// The files of a capture that this program writes itself, and the movie that the library writes.
class CaptureFiles {
 public:
  /// Throws Failure when one of the files that are asked for cannot be written. `options` must
  /// outlive this object.
  explicit CaptureFiles(const CaptureOptions& options);

  /// Takes over what arrived until now: makes pictures and writes sound.
  void Collect(CaptureSink& sink);
  /// Whether nothing is written any more although something was asked for.
  bool AreUseless() const;

  /// Writes the pictures and tells which files there are. What is missing is complained about.
  Report Write(const CaptureSink& sink) const;
  /// Whether that report has every file that was asked for, complete.
  bool AreAllIn(const Report& report) const;

 private:
  const CaptureOptions& options_;
  Album album_;
  SoundRecorder recorder_;
};

#endif  // ZORVEX_TOOLS_CAPTUREFILES_H
