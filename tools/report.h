// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_REPORT_H
#define ZORVEX_TOOLS_REPORT_H

#include <string>

#include "tools/framelog.h"
#include "tools/soundlog.h"

/// What a capture gave. A path is empty where no such file was asked for or written.
struct Report {
  std::optional<FrameSummary> pictures;  ///< where they were captured
  std::optional<SoundSummary> sound;     ///< where it was captured
  std::string movie;
  std::string snapshot;
  std::string contactSheet;
  std::string wav;
};

/// The characters of a four-character code, or its decimal form where they are none.
std::string PixelFormatText(std::uint32_t code);

/// A message to the user beside the report.
void Complain(const std::string& message);

void PrintReport(const Report& report);
void PrintJsonReport(const Report& report);

#endif  // ZORVEX_TOOLS_REPORT_H
