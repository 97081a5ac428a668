// SPDX-License-Identifier: MIT
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "foundation/system/deadline.h"
#include "foundation/system/processlist.h"
#include "platform/processhandle.h"
#include "platform/processlist.h"

namespace {

constexpr unsigned int kKillMs = 1000;
// Between two looks on systems where a process is no descriptor to wait for.
constexpr unsigned int kLookMs = 20;

/// One process, for as long as it lives.
class Target {
 public:
  /// Whatever has this number now.
  explicit Target(int pid) : handle_(OpenProcessHandle(pid)) {
    // After the handle was opened: as long as its process lives, what is read is about it.
    if (!ReadProcess(pid, entry_)) entry_.pid = 0;
  }

  [[nodiscard]] const ProcessEntry& Entry() const { return entry_; }

  [[nodiscard]] bool Exists() const { return entry_.pid != 0 && !HasEnded(); }

  [[nodiscard]] bool HasEnded() const {
    if (handle_) return LSignalObjectRef(handle_.Get(), -1).IsSignaled();
    ProcessEntry now;
    return !ReadProcess(entry_.pid, now) || now.birth != entry_.birth;
  }

  /// 0, or the error number: ESRCH when it has ended.
  [[nodiscard]] int Signal(int signal) const {
    if (handle_) return SignalProcessHandle(handle_, signal);
    if (HasEnded()) return ESRCH;
    return kill(entry_.pid, signal) == 0 ? 0 : errno;
  }

  /// 0 when it has ended, 1 for a stop, 2 when the time is over.
  int WaitForEnd(LProcessInterface& process, Deadline deadline) const {
    while (!HasEnded()) {
      if (deadline.IsOver()) return 2;
      const unsigned int ms = deadline.RemainingMs();
      const int result = handle_ ? process.ProcessWaitSignal({handle_.Get(), -1}, ms)
                                 : process.ProcessWait(std::min(ms, kLookMs));
      if (result == 1) return 1;
    }
    return 0;
  }

 private:
  UniqueFd handle_;
  ProcessEntry entry_;
};

/// Whether it lies not with a process that it was not seen.
bool IsShortage(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM;
}

/// Adds what has the number, if that runs and has the name, which may be null for any. False when
/// it could not be looked at; `errno` tells.
bool AddTarget(int pid, const char* name, std::vector<Target>& targets) {
  Target target(pid);
  if (!target.Exists()) return !IsShortage(errno);
  if (name == nullptr || target.Entry().name == name) targets.push_back(std::move(target));
  return true;
}

int CannotLook(LProcessInterface& process, int error) {
  process.SetErrorF("Cannot look for processes: %s",
                    std::generic_category().message(error).c_str());
  return 2;
}

bool MayBeEnded(int pid) {
  return pid > 1 && pid != getpid();
}

void SetErrorNotPermitted(LProcessInterface& process, int pid, const char* name) {
  process.SetErrorF("Process %d (%s) may not be ended by this user", pid, name);
}

class Ending {
 public:
  Ending(LProcessInterface& process, std::vector<Target> targets)
      : process_(process), targets_(std::move(targets)) {}

  int Run(unsigned int timeoutMs) {
    if (process_.IsToStop()) return 1;
    Signal(SIGTERM);
    // Who is stopped cannot heed the first signal.
    Signal(SIGCONT);
    int result = WaitForAll(Deadline::In(timeoutMs));
    if (result == 2) {
      Signal(SIGKILL);
      result = WaitForAll(Deadline::In(kKillMs));
    }
    if (result == 2) TellWhoRuns();
    return result == 0 && isRefused_ ? 3 : result;
  }

 private:
  void Signal(int signal) {
    std::erase_if(targets_, [&](const Target& target) {
      const int error = target.Signal(signal);
      if (error == EPERM) {
        isRefused_ = true;
        SetErrorNotPermitted(process_, target.Entry().pid, target.Entry().name.c_str());
      }
      return error != 0;
    });
  }

  /// One after the other: the last one to end decides how long it takes.
  int WaitForAll(Deadline deadline) {
    int result = 0;
    for (const Target& target : targets_) {
      const int one = target.WaitForEnd(process_, deadline);
      if (one == 1) return 1;
      result = std::max(result, one);
    }
    return result;
  }

  void TellWhoRuns() {
    for (const Target& target : targets_) {
      if (!target.HasEnded())
        process_.SetErrorF("Process %d (%s) has not ended", target.Entry().pid,
                           target.Entry().name.c_str());
    }
  }

  LProcessInterface& process_;
  std::vector<Target> targets_;
  bool isRefused_ = false;
};

}  // namespace

int LEndProcess(LProcessInterface& process, const char* name, unsigned int timeoutMs) {
  std::vector<Target> targets;
  ProcessEntry entry;
  const std::vector<int> pids = ListProcesses();
  if (pids.empty()) return CannotLook(process, errno);
  for (const int pid : pids) {
    if (!MayBeEnded(pid)) continue;
    // Looked at twice, so that not every process is opened.
    const bool mayBeMeant = ReadProcess(pid, entry) ? entry.name == name : IsShortage(errno);
    if (mayBeMeant && !AddTarget(pid, name, targets)) return CannotLook(process, errno);
  }
  return Ending(process, std::move(targets)).Run(timeoutMs);
}

int LEndProcessByPid(LProcessInterface& process, int pid, unsigned int timeoutMs) {
  if (!MayBeEnded(pid)) {
    process.SetErrorF("Process %d is never ended", pid);
    return 3;
  }
  std::vector<Target> targets;
  if (!AddTarget(pid, nullptr, targets)) return CannotLook(process, errno);
  return Ending(process, std::move(targets)).Run(timeoutMs);
}
