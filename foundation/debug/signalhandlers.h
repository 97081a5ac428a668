// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_DEBUG_SIGNALHANDLERS_H
#define ZORVEX_FOUNDATION_DEBUG_SIGNALHANDLERS_H

/// Sets the dispositions that foundation/debug/debug.h lists. Not installed.
void InstallSignalHandlers();

#endif  // ZORVEX_FOUNDATION_DEBUG_SIGNALHANDLERS_H
