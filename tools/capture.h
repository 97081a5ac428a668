// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_CAPTURE_H
#define ZORVEX_TOOLS_CAPTURE_H

#include "tools/exitcode.h"
#include "tools/options.h"

/// The command "capture". Throws Failure when it does not come to a capture.
ExitCode RunCapture(const CaptureOptions& options);

#endif  // ZORVEX_TOOLS_CAPTURE_H
