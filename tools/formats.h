// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_FORMATS_H
#define ZORVEX_TOOLS_FORMATS_H

#include "tools/exitcode.h"
#include "tools/options.h"

/// The command "formats". Throws Failure when the device tells none.
ExitCode RunFormats(const FormatsOptions& options);

#endif  // ZORVEX_TOOLS_FORMATS_H
