// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_DEBUG_DEBUGTHREAD_H
#define ZORVEX_FOUNDATION_DEBUG_DEBUGTHREAD_H

#include <atomic>
#include <cstdint>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/lockobject.h>

/// \file
/// What bug reports say of threads: for each thread that asks for it a short name and the dialog
/// that it showed last.
///
/// Each thread writes its own record only, without a lock. Others may read it at any time: single
/// characters are never torn, but a text that changes meanwhile may be half the old and half the
/// new one. It is terminated in any case.
///
/// A thread is known by the system's number for it. A thread that ends without
/// LDebugThreadDataStopThread leaves its record taken, and a later thread that gets the same number
/// finds it. A forked child's thread has another number than its parent's had, and so no record.

/// The record of a thread.
struct ZORVEX_API LDebugThreadData {
  static constexpr std::uint32_t kFree = static_cast<std::uint32_t>(-1);
  /// Taken by a thread that has not written its number yet.
  static constexpr std::uint32_t kClaimed = static_cast<std::uint32_t>(-2);

  std::atomic<std::uint32_t> threadId{kFree};
  std::atomic<char> lastDialog[32] = {};  ///< terminated
  std::atomic<char> name[8] = {};         ///< at most 4 characters are used

  /// Copies the last dialog; `dest` has room for 32 bytes.
  void GetLastDialog(char* dest) const;
  /// Copies the name; `dest` has room for 8 bytes.
  void GetName(char* dest) const;
};
static_assert(sizeof(LDebugThreadData) == 44);

inline constexpr int LDebugThreadDataCount = 64;

/// All records, for those who write a crash report.
ZORVEX_API extern LDebugThreadData gDebugThreadData[LDebugThreadDataCount];

/// How many records, from the first on, may be in use: there can be free ones among them, but not
/// as the last.
ZORVEX_API extern std::atomic<int> gnDebugThreads;

/// Held while records are taken and given back. From the end of the process on, when the objects of
/// libraries are destroyed, it must not be used.
ZORVEX_API extern LLockObject loDebugThreads;

/// Takes a record for the calling thread, the first free one, with the first 4 characters of `name`
/// as its name and no dialog. Null stands for the last four digits of the thread's number: 12345 is
/// named "2345". Without a free record nothing happens, and the thread's names and dialogs are
/// ignored. A thread that calls it twice takes two, of which the first counts.
ZORVEX_API void LDebugThreadDataStartThread(const char* name);

/// Gives the calling thread's record back.
ZORVEX_API void LDebugThreadDataStopThread();

/// The calling thread's record, or null. Takes a system call and no lock.
ZORVEX_API LDebugThreadData* LDebugThreadFindData();

/// Sets the calling thread's name, of which 4 characters are kept. Null is the empty name.
ZORVEX_API void LDebugThreadSetName(const char* name);

/// Sets the calling thread's dialog: the name, and behind it the units, the tens and the hundreds
/// of the thread's number, deliberately in that order: "Opt" of thread 12345 is "Opt543". Cut to 31
/// bytes.
ZORVEX_API void LDebugThreadSetLastDialog(const char* name);

/// Gives the calling thread another name for a scope, to mark the code in it in bug reports.
/// Without a record it does nothing. To be destroyed on the same thread.
class ZORVEX_API LBugReportBlockScope {
 public:
  /// As LDebugThreadSetName.
  [[nodiscard]] explicit LBugReportBlockScope(const char* name);
  ~LBugReportBlockScope();
  LBugReportBlockScope(const LBugReportBlockScope&) = delete;
  LBugReportBlockScope& operator=(const LBugReportBlockScope&) = delete;

 private:
  char savedName_[8];
  std::int64_t index_;
};

#endif  // ZORVEX_FOUNDATION_DEBUG_DEBUGTHREAD_H
