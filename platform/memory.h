// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_MEMORY_H
#define ZORVEX_PLATFORM_MEMORY_H

/// How many bytes the process can still allocate before the machine, its limits or those of the
/// group of processes that it is in keep it from that. An estimate: others allocate, too. Any
/// thread; reads some files of the system.
unsigned long long ReadFreeMemory();

#endif  // ZORVEX_PLATFORM_MEMORY_H
