// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_PROGRESS_H
#define ZORVEX_TOOLS_PROGRESS_H

#include "tools/framesink.h"

/// A progress bar in the last line of the terminal; nothing where the error output is none.
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

#endif  // ZORVEX_TOOLS_PROGRESS_H
