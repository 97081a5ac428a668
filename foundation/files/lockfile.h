// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_LOCKFILE_H
#define ZORVEX_FOUNDATION_FILES_LOCKFILE_H

#include <zorvex/foundation/export.h>

/// Says to other processes that a file is in use: by an empty file of the same name with the
/// extension ".lck" that is locked as long as this object holds it. The lock is advisory: who does
/// not ask does not notice.
///
///     LLockFile lock;
///     if (!lock.Lock("/data/project.zvx")) return;  // somebody else works on it
///
/// The kernel gives the lock back when the process dies, however it dies; the file that stays then
/// does no harm. Child processes made by fork share the lock until they run another program, and
/// must not destroy their copy of the object before: that deletes the file. One thread at a time.
class ZORVEX_API LLockFile {
 public:
  LLockFile() = default;
  ~LLockFile() { Unlock(); }
  LLockFile(const LLockFile&) = delete;
  LLockFile& operator=(const LLockFile&) = delete;

  /// Takes the lock that belongs to the file `path`, which need not exist. A lock held before is
  /// given back first. Does not wait.
  ///
  /// False only when somebody else holds it, another object of this process included. Every other
  /// failure gives true without a lock, so that a folder in which nothing can be written never
  /// counts as locked; IsLocked() tells the two apart.
  [[nodiscard]] bool Lock(const char* path);

  /// Deletes the lock file and gives the lock back; the destructor does the same.
  void Unlock();

  [[nodiscard]] bool IsLocked() const { return descriptor_ != -1; }

 private:
  int descriptor_ = -1;
  char path_[260] = {};
};

#endif  // ZORVEX_FOUNDATION_FILES_LOCKFILE_H
