// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_SOUNDRECORDER_H
#define ZORVEX_TOOLS_SOUNDRECORDER_H

#include <optional>
#include <string>
#include <vector>

#include "tools/capturesink.h"
#include "tools/wavfile.h"

/// Writes the sound of a capture to a WAV file, on the thread that calls it. A file that fails
/// ends, and the capture goes on without it.
class SoundRecorder {
 public:
  /// `path` may be empty: then nothing is written.
  explicit SoundRecorder(std::string path) : path_(std::move(path)) {}

  /// Writes what came until now; the file is made at the first sound.
  void Collect(CaptureSink& sink);

  /// The file, or empty when there is none.
  std::string File() const { return file_ ? path_ : std::string(); }
  /// Why it ends early or is missing; empty when all is well.
  const std::string& Error() const { return error_; }

 private:
  const std::string path_;
  std::optional<WavFile> file_;
  std::vector<std::uint8_t> samples_;
  std::string error_;
};

#endif  // ZORVEX_TOOLS_SOUNDRECORDER_H
