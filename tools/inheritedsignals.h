// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_INHERITEDSIGNALS_H
#define ZORVEX_TOOLS_INHERITEDSIGNALS_H

/// Gives the signals for which the library sets handlers when it is loaded the dispositions back
/// that the program was started with: as a command of a shell it ends by Ctrl-C and by a pipe that
/// nobody reads, a crash leaves a core, and what it was started to ignore stays ignored. To be
/// called first in main.
void RestoreInheritedSignals();

#endif  // ZORVEX_TOOLS_INHERITEDSIGNALS_H
