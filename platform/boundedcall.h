// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_BOUNDEDCALL_H
#define ZORVEX_PLATFORM_BOUNDEDCALL_H

#include <chrono>
#include <functional>

enum class BoundedCall {
  Done,
  Late,      ///< the time was up; the work goes on by itself
  NotBegun,  ///< no thread could be had
};

/// Runs `work` on a thread of its own and waits for it, at most for `limit`: the way in which a
/// call into a driver that may never return is made. Work that is late goes on by itself, so it
/// must own everything it touches. With a limit of zero it is only begun.
BoundedCall RunBounded(std::chrono::milliseconds limit, std::function<void()> work);

#endif  // ZORVEX_PLATFORM_BOUNDEDCALL_H
