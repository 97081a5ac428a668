// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_PROCESSLIST_H
#define ZORVEX_FOUNDATION_SYSTEM_PROCESSLIST_H

#include <cstddef>
#include <vector>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/processinterface.h>
#include <zorvex/foundation/time/datetime.h>

/// \file
/// The processes that run on this computer, as far as this one may see them: in a container those
/// in it, on some systems only the user's own. Zombies, which have ended, and threads of the system
/// itself are none. Where there are no descriptors left to look with, none is seen.
///
/// **Names.** A process has the name of the file that it executes, whatever it calls itself, in
/// full, letter for letter. So a script has the name of its interpreter. Of other users' processes
/// that file is not to be seen; they have the name that they were started by, and where they have
/// changed that, or are scripts, the first 15 bytes of what they call themselves. Whether a process
/// is what its name says nobody promises.
///
/// Any thread may call anything here; an iterator is for one thread at a time. All may throw
/// std::bad_alloc.

struct LProcessInformation {
  int pid;
  /// 0 for the first process of the system or the container, and those that come from outside.
  int parentPid;
  /// The effective user; see LGetUserNameOf.
  unsigned int userId;
  /// Right to a second or two; less when the clock was set since.
  LDateTime startTime;
  /// UTF-8 as far as the names of files are. Cut to 259 bytes, as is the path.
  char name[260];
  /// The file that it executes, by the path that it had when it was begun, also when it is gone or
  /// has been replaced. Empty where it is not to be seen.
  char path[260];
};

/// Goes through all processes:
///
///     LProcessIterator processes;
///     LProcessInformation process;
///     while (processes.Next(process)) ...
///
/// Their numbers are taken when it is made. What began later is not found, and what has ended
/// meanwhile is left out.
class ZORVEX_API LProcessIterator {
 public:
  LProcessIterator();
  /// False behind the last one; `process` is not changed then.
  bool Next(LProcessInformation& process);

 private:
  std::vector<int> pids_;
  std::size_t next_ = 0;
};

/// False when there is no such process to be seen, or the number is a thread's; `information` is
/// not changed then.
ZORVEX_API bool LGetProcess(int pid, LProcessInformation& information);

/// Finds a process by its whole name, other than this one. Which, when there are several, is not
/// said. False when there is none; `information` is not changed then.
ZORVEX_API bool LFindProcess(const char* name, LProcessInformation& information);

/// Ends all processes of that name but this one: asks them to end (SIGTERM) and, if they have not
/// after `timeoutMs` milliseconds, kills them (SIGKILL). 4294967295 (LSignalWaitForever) never
/// kills. Those that begin meanwhile are left alone.
///
/// - 0: none runs any more, or none did.
/// - 1: a stop was requested. Those that were asked may still end.
/// - 2: one still runs a second after it was killed; SetError of the interface tells which. Or
/// there
///   were no descriptors left to find all and to hold on to them; then none was asked.
/// - 3: one may not be ended by this user; the others have ended, or were killed. Told likewise.
///
/// Processes of other users are not spared if this one may end them, as root may. Never ended are
/// this process and the first one of the system or the container. It is sure that a signal goes to
/// a process that had the name, and to no other one that got its number meanwhile (on Linux before
/// 5.3 nearly so).
ZORVEX_API int LEndProcess(LProcessInterface& process, const char* name, unsigned int timeoutMs);

/// The same for the process with that number, which is as good as the caller's knowledge of it. 0
/// also when there is none; 3 for this process, the first one, and numbers below that.
ZORVEX_API int LEndProcessByPid(LProcessInterface& process, int pid, unsigned int timeoutMs);

#endif  // ZORVEX_FOUNDATION_SYSTEM_PROCESSLIST_H
