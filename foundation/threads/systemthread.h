// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_SYSTEMTHREAD_H
#define ZORVEX_FOUNDATION_THREADS_SYSTEMTHREAD_H

#include <pthread.h>

/// What LThread needs of the system beyond POSIX. Not installed.

/// The system's own number for the calling thread: the one that `ps -L` and `top -H` show.
int LSystemThreadId();

/// Whether the calling thread is the process's first one.
bool LSystemIsMainThread();

/// The effect of LThread::SetPriority on a thread, which must not have ended. Failures are not
/// reported; the thread then keeps its priority.
void LSystemThreadSetPriority(pthread_t thread, int priority);

#endif  // ZORVEX_FOUNDATION_THREADS_SYSTEMTHREAD_H
