// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_PROCESSHANDLE_H
#define ZORVEX_PLATFORM_PROCESSHANDLE_H

#include "platform/uniquefd.h"

/// A descriptor that goes on standing for the process which has this number now, also when that has
/// ended and the number is another one's. For `poll` it is readable once the process has ended,
/// waited for or not. None when there is no such process, no descriptors are left, or the system
/// (Linux before 5.3, some containers) has no such thing. Any thread.
UniqueFd OpenProcessHandle(int pid);

/// Sends a signal to the process of an open handle. 0, or the error number: ESRCH when it has ended
/// and was waited for, EPERM when this process may not.
int SignalProcessHandle(const UniqueFd& process, int signal);

#endif  // ZORVEX_PLATFORM_PROCESSHANDLE_H
