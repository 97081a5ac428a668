// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FLOCKTIMED_H
#define ZORVEX_FOUNDATION_FILES_FLOCKTIMED_H

#include <zorvex/foundation/export.h>

/// flock(2), tried again until about `timeoutMs` milliseconds have gone by. `operation` is LOCK_SH
/// or LOCK_EX with LOCK_NB; without LOCK_NB the first try waits without limit.
///
/// Between the tries it sleeps `timeoutMs` / 32 + 1 ms, then twice as long each time, as long as
/// the sleep is shorter than `timeoutMs`: 1000 gives sleeps of 32, 64, 128, 256 and 512 ms. The
/// last sleep is not followed by a try. Timeouts of 0 and 1 try once and do not sleep. Signal
/// handlers do not shorten the sleeps.
///
/// 0 when the lock was taken, else -1 with the reason in `errno`: EWOULDBLOCK when others held it
/// all the time, and every other reason at once. Any thread may call it.
ZORVEX_API int flocktimed(int fd, int operation, unsigned int timeoutMs);

#endif  // ZORVEX_FOUNDATION_FILES_FLOCKTIMED_H
