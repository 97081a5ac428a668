// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_MAINTHREAD_H
#define ZORVEX_FOUNDATION_THREADS_MAINTHREAD_H

#include <zorvex/foundation/export.h>

/// Whether the caller is the process's first thread. In a forked child that is the thread that
/// forked.
ZORVEX_API bool LIsMainThread();

#endif  // ZORVEX_FOUNDATION_THREADS_MAINTHREAD_H
