// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_MEMORY_H
#define ZORVEX_FOUNDATION_SYSTEM_MEMORY_H

#include <zorvex/foundation/export.h>

/// How many bytes the process can still allocate: what the machine has left, swap space with it, or
/// less where a limit of the process or of its group of processes allows less. An estimate, since
/// others allocate, too; it takes some tens of microseconds. May throw std::bad_alloc. Any thread.
ZORVEX_API unsigned long long LMemoryGetFreeHeapSize();

#endif  // ZORVEX_FOUNDATION_SYSTEM_MEMORY_H
