// SPDX-License-Identifier: MIT
#include <pthread.h>

#include <new>

#include "capture/zorvex.h"
#include "platform/nsautoreleasepool.h"

namespace {

/// The thread that loads the library runs its initialisers.
const pthread_t MainThreadId = pthread_self();

}  // namespace

void* ZRVXThreadInit() {
  return new (std::nothrow) NSAutoreleasePool;
}

void ZRVXThreadDestroy(void* token) {
  if (token) static_cast<NSAutoreleasePool*>(token)->Release();
}

bool ZRVXIsMainThread() {
  return pthread_equal(pthread_self(), MainThreadId) != 0;
}
