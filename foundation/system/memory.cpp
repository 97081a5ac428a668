// SPDX-License-Identifier: MIT
#include "foundation/system/memory.h"

#include "platform/memory.h"

unsigned long long LMemoryGetFreeHeapSize() {
  return ReadFreeMemory();
}
