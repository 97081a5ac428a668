// SPDX-License-Identifier: MIT
#include "foundation/threads/systemthread.h"

#include <sched.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr int realTimeClass = 91;

// Any real-time priority goes before every normal thread. A low one keeps out of the way of sound
// servers (20 and more) and of the kernel's own threads (50), and within the limits that
// distributions give to users. Threads of equal priority take turns, as several cameras' would.
constexpr int realTimePriority = 5;

// SCHED_RESET_ON_FORK: being real-time is a matter of this one thread. What it starts, threads and
// programs, begins as normal.
bool MakeRealTime(pthread_t thread) {
  const sched_param parameters = {.sched_priority = realTimePriority};
  return pthread_setschedparam(thread, SCHED_RR | SCHED_RESET_ON_FORK, &parameters) == 0;
}

}  // namespace

int LSystemThreadId() {
  return gettid();
}

bool LSystemIsMainThread() {
  return gettid() == getpid();
}

void LSystemThreadSetPriority(pthread_t thread, int priority) {
  if (priority == realTimeClass && MakeRealTime(thread)) return;
  const sched_param parameters = {.sched_priority = priority};
  // The flag of a thread that was real-time may be taken away only by privileged processes.
  if (pthread_setschedparam(thread, SCHED_OTHER, &parameters) == EPERM) {
    pthread_setschedparam(thread, SCHED_OTHER | SCHED_RESET_ON_FORK, &parameters);
  }
}
