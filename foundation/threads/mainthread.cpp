// SPDX-License-Identifier: MIT
#include "foundation/threads/mainthread.h"

#include "foundation/threads/systemthread.h"

bool LIsMainThread() {
  return LSystemIsMainThread();
}
