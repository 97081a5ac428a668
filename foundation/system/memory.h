// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_MEMORY_H
#define ZORVEX_FOUNDATION_SYSTEM_MEMORY_H

#include <zorvex/foundation/export.h>

/// How many bytes the process can still allocate: what the machine has left, swap space with it, or
/// less where a limit of the process or of its group of processes allows less. An estimate, since
/// others allocate, too; it takes some tens of microseconds. May throw std::bad_alloc. Any thread.
ZORVEX_API unsigned long long LMemoryGetFreeHeapSize();

/// How many bytes of memory the machine has, swap space not counted, or, where that is less, how
/// many the process's group of processes (a container, for instance) may use. 0 when it is not
/// known. May throw std::bad_alloc. Any thread.
ZORVEX_API unsigned long long LMemoryGetPhysicalSize();

/// How many bytes of that memory can be had now without swapping, memory that is only used for
/// caches among them. An estimate. 0 when it is not known, too. May throw std::bad_alloc. Any
/// thread.
ZORVEX_API unsigned long long LMemoryGetAvailablePhysicalSize();

/// Bytes of memory that a process has.
struct LMemoryProcessSizes {
  unsigned long long resident;         ///< in the machine's memory now, with what others share
  unsigned long long peakResident;     ///< the largest that ever was
  unsigned long long virtualSize;      ///< of the address space, whether it was ever written or not
  unsigned long long peakVirtualSize;  ///< the largest that ever was
};

/// Those of this process. The resident sizes lag behind by some pages for each thread. False, with
/// zeros, when they are not known. May throw std::bad_alloc. Any thread.
ZORVEX_API bool LMemoryGetProcessSizes(LMemoryProcessSizes& sizes);

#endif  // ZORVEX_FOUNDATION_SYSTEM_MEMORY_H
