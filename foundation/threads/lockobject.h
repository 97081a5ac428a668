// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_LOCKOBJECT_H
#define ZORVEX_FOUNDATION_THREADS_LOCKOBJECT_H

#include <pthread.h>

#include <atomic>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/signalobject.h>

/// Recursive mutex between the threads of one process.
///
/// The thread that holds it may lock it again; it becomes free after as many unlocks. An unlock by
/// a thread that does not hold it changes nothing. Every recursive mutex of the library is one of
/// these. It must be free when it is destroyed. Nothing here throws or reports a failure.
///
/// The lower-case names are the standard's, for `std::lock_guard`, `std::unique_lock` and
/// `std::scoped_lock`.
class ZORVEX_API LLockObject {
 public:
  LLockObject();
  ~LLockObject();
  LLockObject(const LLockObject&) = delete;
  LLockObject& operator=(const LLockObject&) = delete;

  /// Waits without limit until the calling thread holds the lock.
  void Lock() { pthread_mutex_lock(&mutex_); }
  void Unlock() { pthread_mutex_unlock(&mutex_); }

  void lock() { Lock(); }
  void unlock() { Unlock(); }
  /// Never waits. True when the calling thread now holds the lock (once more).
  [[nodiscard]] bool try_lock() { return pthread_mutex_trylock(&mutex_) == 0; }

 private:
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

/// Holds an LLockObject from its construction to the end of its scope. The lock must outlive it.
class LLockObjectGuard {
 public:
  [[nodiscard]] explicit LLockObjectGuard(LLockObject& lockObject) : lockObject_(lockObject) {
    lockObject_.Lock();
  }
  ~LLockObjectGuard() { lockObject_.Unlock(); }
  LLockObjectGuard(const LLockObjectGuard&) = delete;
  LLockObjectGuard& operator=(const LLockObjectGuard&) = delete;

 private:
  LLockObject& lockObject_;
};

/// Lock of many readers (shared) or one writer (exclusive) between the threads of one process.
///
/// A writer holds the mutex for as long as it writes; readers only raise a count and leave without
/// the mutex. Readers go first: while a writer waits in LockExclusive, new readers still enter, so
/// a stream of readers that never breaks off keeps writers out.
///
/// The limits that follow from this, for callers:
///  - Only one holder of a shared lock may call UpgradeLock at a time: two would wait for each
///    other for ever. A thread must not ask for a second shared lock while another may upgrade.
///  - A thread that holds a shared lock must not call LockExclusive; it would wait for itself.
///  - An exclusive lock is released by the thread that took it; a shared one by any thread.
///  - The object is destroyed only when no call on it is in progress.
class ZORVEX_API LLockObjectShared {
 public:
  LLockObjectShared() = default;
  LLockObjectShared(const LLockObjectShared&) = delete;
  LLockObjectShared& operator=(const LLockObjectShared&) = delete;

  /// Waits while a writer holds the lock, or an upgrade is under way.
  void LockShared();
  /// Ends a LockShared.
  void UnlockShared();

  /// Waits without limit until there is neither a reader nor another writer.
  void LockExclusive();
  /// Ends a LockExclusive of this thread.
  void UnlockExclusive();

  /// Turns the caller's shared lock into the exclusive one: waits for the other readers to leave
  /// and lets no new one in meanwhile. When the caller was the only reader, writers already waiting
  /// in LockExclusive are not woken by it, nor by UnlockExclusive after it; they sleep until the
  /// next reader leaves. DowngradeLock and UnlockShared after the upgrade wake them.
  void UpgradeLock();

  /// Turns the caller's exclusive lock into a shared one; no writer comes in between.
  void DowngradeLock();

 private:
  LLockObject exclusiveLock_;
  LSignalObject noSharedHolders_;
  std::atomic<int> sharedHolders_{0};
};

#endif  // ZORVEX_FOUNDATION_THREADS_LOCKOBJECT_H
