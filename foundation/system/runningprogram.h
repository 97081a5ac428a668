// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_RUNNINGPROGRAM_H
#define ZORVEX_FOUNDATION_SYSTEM_RUNNINGPROGRAM_H

#include "foundation/system/childprogram.h"
#include "foundation/threads/signalobject.h"
#include "platform/uniquefd.h"

/// A child in a session of its own, so that it can be ended with all it started. Destroying this
/// kills what still runs, and leaves no zombie.
class RunningProgram {
 public:
  RunningProgram() = default;
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  /// Once. 0, or the error number.
  int Start(ChildProgram program);

  /// Whether the program itself has ended, whatever it left running. Its number is not free by
  /// that: it stays a zombie until its status is taken.
  [[nodiscard]] bool HasEnded() const;

  /// Set when it has ended; of no descriptor on systems where a process is none.
  [[nodiscard]] LSignalObjectRef Ended() const { return {handle_.Get(), -1}; }

  /// Its status as waitpid(2) gives it, -1 when somebody else has taken that. Waits for the end.
  int TakeStatus();

  /// Sends a signal to the program and what it started, if it did not leave the group. False when
  /// none of them may be sent one, or none is left.
  [[nodiscard]] bool SignalGroup(int signal) const;

  /// Kills the group. -1 when the program does not end of it soon (it waits for a device, or this
  /// process may not kill it): a thread then waits for it.
  int Kill();

 private:
  [[nodiscard]] bool WaitForEnd(unsigned int timeoutMs) const;

  int pid_ = -1;
  UniqueFd handle_;
};

#endif  // ZORVEX_FOUNDATION_SYSTEM_RUNNINGPROGRAM_H
