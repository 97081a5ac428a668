// SPDX-License-Identifier: MIT
#include "foundation/threads/lockobject.h"

static_assert(sizeof(LLockObject) == sizeof(pthread_mutex_t));
static_assert(sizeof(std::atomic<int>) == sizeof(int) && std::atomic<int>::is_always_lock_free);

LLockObject::LLockObject() {
  // Without attributes the mutex stays a plain, non-recursive one. The attributes hold no resource,
  // so they are left to the end of the scope.
  pthread_mutexattr_t attributes;
  if (pthread_mutexattr_init(&attributes) == 0) {
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex_, &attributes);
  }
}

LLockObject::~LLockObject() {
  pthread_mutex_destroy(&mutex_);
}

void LLockObjectShared::LockShared() {
  const LLockObjectGuard guard(exclusiveLock_);
  // Before the count: a reader that leaves from now on signals after the reset.
  noSharedHolders_.Reset();
  sharedHolders_.fetch_add(1, std::memory_order_relaxed);
}

// Without the mutex, because an upgrade waits for the readers to leave while it holds the mutex.
// The release here and the acquiring loads of the writers order a reader's last access before the
// writer's first.
void LLockObjectShared::UnlockShared() {
  if (sharedHolders_.fetch_sub(1, std::memory_order_acq_rel) == 1) noSharedHolders_.Signal();
}

void LLockObjectShared::LockExclusive() {
  exclusiveLock_.Lock();
  // A wake-up proves nothing: a new reader may have come in, or a signal handler cut the wait
  // short.
  while (sharedHolders_.load(std::memory_order_acquire) > 0) {
    exclusiveLock_.Unlock();
    noSharedHolders_.WaitSignal(LSignalWaitForever);
    exclusiveLock_.Lock();
  }
}

void LLockObjectShared::UnlockExclusive() {
  exclusiveLock_.Unlock();
}

void LLockObjectShared::UpgradeLock() {
  exclusiveLock_.Lock();
  // The caller's own departure is deliberately not signalled: the lock passes to the caller, so
  // there is nothing yet for a waiting writer to wake up to.
  if (sharedHolders_.fetch_sub(1, std::memory_order_acq_rel) < 2) return;
  while (sharedHolders_.load(std::memory_order_acquire) > 0) {
    noSharedHolders_.WaitSignal(LSignalWaitForever);
  }
}

void LLockObjectShared::DowngradeLock() {
  noSharedHolders_.Reset();
  sharedHolders_.fetch_add(1, std::memory_order_relaxed);
  exclusiveLock_.Unlock();
}
