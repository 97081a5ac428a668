// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_DEBUG_HANGDETECTOR_H
#define ZORVEX_FOUNDATION_DEBUG_HANGDETECTOR_H

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <ctime>

#include <zorvex/foundation/export.h>

/// When a run began: the content of its lock file, in the byte order of the machine.
struct LHangRecord {
  std::time_t startTime = 0;  ///< seconds since 1970
  /// Milliseconds since 1970, where the whole seconds count modulo 2^32 milliseconds, deliberately.
  std::int64_t startTick = 0;
};
static_assert(sizeof(LHangRecord) == 16);

/// Tells whether the user's previous run came to its end: a lock file stands in the temporary
/// folder while a run lives and goes when the process exits. One that is there while no process
/// holds its lock was left by a run that was killed, aborted, or hung until it was killed.
///
/// A run that ends in ::LDebugSignalHandler exits, and so takes its file away: that is deliberate.
///
/// The file is "_LZorvex_rl_" with the user's name (LOGNAME, else USER, else nothing) in
/// LFile::GetTempFolder. There is no file, and nothing is told, where it cannot be made: for a user
/// name with a '/' in it, say, or on a file system without locks. The lock is kept by forked
/// children, too, as long as they do not start another program; only the process that made the file
/// removes it.
///
/// There is one of these, behind ::LDebugHangDetectorInit and ::LDebugHangDetectorDestroy, which
/// are called on the main thread.
class ZORVEX_API LHangDetector {
 public:
  constexpr LHangDetector() = default;
  ~LHangDetector() { Destroy(); }
  LHangDetector(const LHangDetector&) = delete;
  LHangDetector& operator=(const LHangDetector&) = delete;

  /// To be called once in a process. Makes the lock file; or, where the previous run left one,
  /// removes that, stores what stood in it (zeros when it is too short) and returns true. No new
  /// file is made then, deliberately: how this run ends will not be known. While another run of the
  /// user lives nothing happens.
  bool InitAndTest(LHangRecord* previous = nullptr);

  /// Removes the lock file if this process made one.
  void Destroy();

 private:
  char path_[260] = {};
  std::atomic<int> descriptor_{-1};
  std::atomic<pid_t> owner_{0};
};

#endif  // ZORVEX_FOUNDATION_DEBUG_HANGDETECTOR_H
