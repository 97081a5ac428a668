// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_SYSTEMLOCK_H
#define ZORVEX_FOUNDATION_THREADS_SYSTEMLOCK_H

#include <sys/types.h>

#include <cstdint>

#include <zorvex/foundation/export.h>

/// Lock between all processes of the machine, known to them by its name.
///
/// Behind it stands a System V semaphore set of one semaphore, which every user may use. One object
/// serves one locking:
///
///     LSystemLockMutex lock("UID");
///     if (lock.Lock(2000)) {
///       ...
///       lock.Unlock();
///     }
///
/// Unlock leaves the set to the other processes and forgets it; this object then locks no more. An
/// object that still knows its set when it is destroyed removes the set from the machine, even
/// while others use it: one that never got the lock, or did not release it. Whoever waits on a
/// removed set stops waiting and does not get the lock.
///
/// The kernel gives the lock back when the process that holds it dies. The lock belongs to the
/// process: it is not recursive, and any thread may release it. An object is for one thread at a
/// time. Nothing is reported when the set cannot be made or opened; Lock then answers false.
class ZORVEX_API LSystemLockMutex {
 public:
  explicit LSystemLockMutex(const char* name);
  ~LSystemLockMutex();
  LSystemLockMutex(const LSystemLockMutex&) = delete;
  LSystemLockMutex& operator=(const LSystemLockMutex&) = delete;

  /// Tries every 10 ms until the timeout (milliseconds) is used up; the last try, too, is followed
  /// by its 10 ms, so that 0 to 10 take 10 ms and 25 takes 30 ms. False when the lock was not free
  /// in time, and at once when there is no set.
  [[nodiscard]] bool Lock(unsigned int timeout);

  /// Waits without limit. Returns without the lock, and does not say so, when there is no set, when
  /// it is removed, and when a signal handler runs on the waiting thread.
  void LockForever();

  /// Releases the lock. Does nothing when the lock is free and this process was the last to use
  /// it. Only for the holder: called elsewhere it frees the lock under the holder's feet, or lets
  /// two in.
  void Unlock();

  /// The key of the semaphore set, as `ipcs -s` shows it. Each character is worth 32 times the next
  /// one, modulo 2^32, so that only the last seven characters of a name tell it from others.
  [[nodiscard]] static constexpr key_t KeyFromName(const char* name) {
    std::uint32_t key = 11223;
    for (; *name != '\0'; ++name) {
      key = key * 32 + static_cast<std::uint32_t>(static_cast<signed char>(*name));
    }
    return static_cast<key_t>(key);
  }

 private:
  key_t key_;
  int semaphoreSet_ = -1;
};

#endif  // ZORVEX_FOUNDATION_THREADS_SYSTEMLOCK_H
