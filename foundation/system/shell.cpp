// SPDX-License-Identifier: MIT
#include "foundation/system/shell.h"

#include <pthread.h>

#include <condition_variable>
#include <mutex>
#include <optional>

#include "foundation/system/childpipe.h"
#include "foundation/system/childprogram.h"
#include "foundation/threads/signalsblocked.h"

namespace {

/// A program that is started, and waited for, by a thread of its own. The starter's, for as long as
/// it waits for the beginning.
class DetachedStart {
 public:
  explicit DetachedStart(const ChildProgram& program) : program_(program) {}

  bool Run() {
    if (!MakeThread()) return false;
    std::unique_lock lock(mutex_);
    known_.wait(lock, [&] { return isStarted_.has_value(); });
    return *isStarted_;
  }

 private:
  // The stack is small: it counts in processes that lock their memory, and stays as long as the
  // program runs.
  bool MakeThread() {
    constexpr std::size_t kStack = std::size_t{256} * 1024;
    const SignalsBlocked blocked;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, kStack);
    pthread_t thread = {};
    const bool isMade = pthread_create(&thread, &attributes, StartAndWait, this) == 0;
    pthread_attr_destroy(&attributes);
    return isMade;
  }

  static void* StartAndWait(void* start) {
    int pid = -1;
    if (static_cast<DetachedStart*>(start)->Start(pid)) WaitForChildProgram(pid);
    return nullptr;
  }

  bool Start(int& pid) {
    const bool isStarted = StartChildProgram(program_, pid) == 0;
    // Told under the lock: the starter, and with it this object, is gone as soon as it can look.
    const std::lock_guard lock(mutex_);
    isStarted_ = isStarted;
    known_.notify_one();
    return isStarted;
  }

  ChildProgram program_;
  std::mutex mutex_;
  std::condition_variable known_;
  std::optional<bool> isStarted_;
};

}  // namespace

bool LRunShellCommand(const char* command) {
  const char* const arguments[] = {"/bin/sh", "-c", command, nullptr};
  int pid = -1;
  return StartChildProgram({.arguments = arguments}, pid) == 0 && WaitForChildProgram(pid) == 0;
}

// A thread and not a process between, which would have to be waited for as well, and which this
// process would have to be copied for.
bool LStartProgram(const char* const* arguments) {
  const UniqueFd nothing = OpenNothing();
  if (!nothing) return false;
  return DetachedStart({.arguments = arguments, .input = nothing.Get(), .hasOwnSession = true})
      .Run();
}
