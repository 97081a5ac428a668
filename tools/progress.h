// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_PROGRESS_H
#define ZORVEX_TOOLS_PROGRESS_H

#include <string>

#include "tools/capturesink.h"

/// A progress bar in the last line of the terminal, with a meter of the sound's level; nothing
/// where the error output is none.
class Progress {
 public:
  Progress();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(const CaptureState& state) const;

 private:
  const bool enabled_;
};

/// Peak and RMS of each channel: "-12/-15 -12/-15 dBFS"; empty without a channel.
std::string MeterText(const std::vector<Level>& levels);

#endif  // ZORVEX_TOOLS_PROGRESS_H
