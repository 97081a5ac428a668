// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_NSAUTORELEASEPOOL_H
#define ZORVEX_PLATFORM_NSAUTORELEASEPOOL_H

#include <zorvex/platform/nsobject.h>

/// What a host thread holds while it calls into the capture layer. Linux hands out no autoreleased
/// objects, so the pool has nothing to drain; it stands for the thread's right to call.
class NSAutoreleasePool final : public NSObject {};

#endif  // ZORVEX_PLATFORM_NSAUTORELEASEPOOL_H
