// SPDX-License-Identifier: MIT
#include "foundation/system/runningprogram.h"

#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "foundation/files/childwait.h"
#include "platform/processhandle.h"

namespace {

using std::chrono::steady_clock;

// What is killed ends at once, but where a device holds it up.
constexpr unsigned int kKillMs = 1000;
// Between two looks where there is no descriptor to wait for.
constexpr std::chrono::milliseconds kLook(10);

enum class ChildState { kRuns, kIsZombie, kIsTaken };

/// kIsTaken when somebody else in this process has waited for it, or SIGCHLD is ignored: its number
/// may then be another process's.
ChildState StateOf(int pid) {
  siginfo_t information = {};
  if (waitid(P_PID, static_cast<id_t>(pid), &information, WEXITED | WNOHANG | WNOWAIT) != 0)
    return ChildState::kIsTaken;
  return information.si_pid == pid ? ChildState::kIsZombie : ChildState::kRuns;
}

}  // namespace

RunningProgram::~RunningProgram() {
  if (pid_ != -1) Kill();
}

int RunningProgram::Start(ChildProgram program) {
  program.hasOwnSession = true;
  const int error = StartChildProgram(program, pid_);
  if (error != 0) {
    pid_ = -1;
  } else {
    handle_ = OpenProcessHandle(pid_);
  }
  return error;
}

bool RunningProgram::HasEnded() const {
  return StateOf(pid_) != ChildState::kRuns;
}

int RunningProgram::TakeStatus() {
  return WaitForChildProgram(std::exchange(pid_, -1));
}

bool RunningProgram::SignalGroup(int signal) const {
  return StateOf(pid_) != ChildState::kIsTaken && kill(-pid_, signal) == 0;
}

int RunningProgram::Kill() {
  const bool isKilled = SignalGroup(SIGKILL);
  if (HasEnded() || (isKilled && WaitForEnd(kKillMs))) return TakeStatus();
  return WaitForChild(std::exchange(pid_, -1), 0);
}

bool RunningProgram::WaitForEnd(unsigned int timeoutMs) const {
  const auto end = steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (!HasEnded()) {
    if (steady_clock::now() >= end) return false;
    if (handle_) {
      Ended().WaitSignal(std::min(timeoutMs, 100U));
    } else {
      std::this_thread::sleep_for(kLook);
    }
  }
  return true;
}
