// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_TIMECODECOMMAND_H
#define ZORVEX_TOOLS_TIMECODECOMMAND_H

#include "tools/exitcode.h"
#include "tools/options.h"

/// The command "timecode". Throws Failure when no time code comes.
ExitCode RunTimeCode(const TimeCodeOptions& options);

#endif  // ZORVEX_TOOLS_TIMECODECOMMAND_H
