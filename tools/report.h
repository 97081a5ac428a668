// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_REPORT_H
#define ZORVEX_TOOLS_REPORT_H

#include <string>

#include "tools/framelog.h"

/// What a capture gave. A path is empty where no such file was asked for or written.
struct Report {
  FrameSummary summary;
  std::string movie;
  std::string snapshot;
  std::string contactSheet;
};

/// The characters of a four-character code, or its decimal form where they are none.
std::string PixelFormatText(std::uint32_t code);

void PrintReport(const Report& report);
void PrintJsonReport(const Report& report);

#endif  // ZORVEX_TOOLS_REPORT_H
