// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_MEMORY_H
#define ZORVEX_PLATFORM_MEMORY_H

/// How many bytes the process can still allocate before the machine, its limits or those of the
/// group of processes that it is in keep it from that. An estimate: others allocate, too. Any
/// thread; reads some files of the system.
unsigned long long ReadFreeMemory();

/// Bytes of memory, without swap space, that the machine has, or that the group may use where that
/// is less. Zeros when the system does not tell.
struct PhysicalMemory {
  unsigned long long total = 0;
  unsigned long long available = 0;  ///< without swapping
};

PhysicalMemory ReadPhysicalMemory();

/// Bytes of memory that the process has. Zeros when the system does not tell.
struct ProcessMemory {
  unsigned long long resident = 0;
  unsigned long long peakResident = 0;
  unsigned long long virtualSize = 0;
  unsigned long long peakVirtualSize = 0;
};

ProcessMemory ReadProcessMemory();

#endif  // ZORVEX_PLATFORM_MEMORY_H
