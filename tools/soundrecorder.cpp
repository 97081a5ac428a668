// SPDX-License-Identifier: MIT
#include "tools/soundrecorder.h"

#include "tools/exitcode.h"

void SoundRecorder::Collect(CaptureSink& sink) {
  if (path_.empty()) return;
  sink.TakeSound(samples_);
  if (samples_.empty() || !error_.empty()) return;
  try {
    if (!file_) file_.emplace(path_, sink.Sound().format);
    file_->Append(samples_);
  } catch (const Failure& failure) {
    error_ = failure.what();
  }
}
