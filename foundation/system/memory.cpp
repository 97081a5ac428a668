// SPDX-License-Identifier: MIT
#include "foundation/system/memory.h"

#include "platform/memory.h"

unsigned long long LMemoryGetFreeHeapSize() {
  return ReadFreeMemory();
}

unsigned long long LMemoryGetPhysicalSize() {
  return ReadPhysicalMemory().total;
}

unsigned long long LMemoryGetAvailablePhysicalSize() {
  return ReadPhysicalMemory().available;
}

bool LMemoryGetProcessSizes(LMemoryProcessSizes& sizes) {
  const ProcessMemory memory = ReadProcessMemory();
  sizes = {memory.resident, memory.peakResident, memory.virtualSize, memory.peakVirtualSize};
  return sizes.virtualSize != 0;
}
