// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_CAPTURECLOCK_H
#define ZORVEX_TOOLS_CAPTURECLOCK_H

#include <chrono>

using CaptureClock = std::chrono::steady_clock;

inline double SecondsBetween(CaptureClock::time_point from, CaptureClock::time_point to) {
  return std::chrono::duration<double>(to - from).count();
}

#endif  // ZORVEX_TOOLS_CAPTURECLOCK_H
