// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_CHILDWAIT_H
#define ZORVEX_FOUNDATION_FILES_CHILDWAIT_H

#include <cstdio>

/// \file
/// Waiting for a child process with a time limit (milliseconds, 4294967295 for none). Both give its
/// status as waitpid(2) does, or -1 when it has not ended in time or cannot be waited for. Then a
/// thread of its own goes on waiting.

int WaitForChild(int pid, unsigned int timeoutMs);

/// Closes a stream of popen(3), and waits for what it wrote to.
int ClosePipeStream(std::FILE* stream, unsigned int timeoutMs);

#endif  // ZORVEX_FOUNDATION_FILES_CHILDWAIT_H
