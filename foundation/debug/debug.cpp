// SPDX-License-Identifier: MIT
//
// What happens when the library is loaded.
#include "foundation/debug/debug.h"

#include "foundation/debug/signalhandlers.h"
#include "foundation/threads/systemthread.h"

// Before the objects of all other files, so that these may use it, and after them when the process
// ends, so that one that hangs then is noticed. What can be a constant is there even before, and
// the lock is zeros then, which is a free one.
#define ZORVEX_FIRST __attribute__((init_priority(101)))

constinit std::uint32_t gdwMainThreadId = 0;
constinit std::atomic<int> gwDebugCurrentCommand = 1;
constinit std::atomic<int> gwDebugLastCommand = 0;

namespace {

struct StartUp {
  StartUp() {
    gdwMainThreadId = static_cast<std::uint32_t>(LSystemThreadId());
    InstallSignalHandlers();
  }
};

// In this order: the lock goes before the lock file does.
ZORVEX_FIRST constinit LHangDetector hangDetector;

}  // namespace

ZORVEX_FIRST LLockObject loDebugThreads;

namespace {

ZORVEX_FIRST const StartUp startUp;

}  // namespace

bool LDebugHangDetectorInit(LHangRecord* previous) {
  return hangDetector.InitAndTest(previous);
}

void LDebugHangDetectorDestroy() {
  hangDetector.Destroy();
}
