// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_DEBUG_DEBUGTHREADLOOKUP_H
#define ZORVEX_FOUNDATION_DEBUG_DEBUGTHREADLOOKUP_H

#include <cstdint>

#include "foundation/debug/debugthread.h"

/// The record of a thread, or null. Takes no lock: a record that is the caller's own, or another
/// thread's that lives on, stays where it is. Not installed.
LDebugThreadData* FindDebugThread(std::uint32_t threadId);

#endif  // ZORVEX_FOUNDATION_DEBUG_DEBUGTHREADLOOKUP_H
