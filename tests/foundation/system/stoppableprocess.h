// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_FOUNDATION_SYSTEM_STOPPABLEPROCESS_H
#define ZORVEX_TESTS_FOUNDATION_SYSTEM_STOPPABLEPROCESS_H

#include <grp.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "foundation/threads/processinterface.h"

/// Asks to stop as soon as a condition holds.
class StoppableProcess final : public LProcessInterface {
 public:
  bool IsToStop() override { return isToStop(); }
  int ProcessWait(unsigned int timeout) override {
    return ProcessWaitSignal(LSignalObject(), timeout) == 1 ? 1 : 0;
  }
  int ProcessWaitSignal(LSignalObjectRef signal, unsigned int timeout) override {
    LSignalObjectGroup group;
    group.Add(signal);
    return Wait(group, timeout);
  }
  int ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int timeout) override {
    return Wait(group, timeout);
  }
  void SetError(const char* text) override { last = text; }

  std::function<bool()> isToStop = [] { return false; };
  std::string last;

 private:
  int Wait(const LSignalObjectGroup& group, unsigned int timeout) const {
    return isToStop() ? 1 : group.Select(std::min(timeout, 10U)) ? 0 : 2;
  }
};

/// Waits: what is killed may take a moment to go.
inline bool Becomes(const std::function<bool()>& condition) {
  for (int i = 0; i < 3000 && !condition(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return condition();
}

/// Runs a function in a child; whether it was true there.
template <typename Function>
bool InChild(Function function) {
  const pid_t pid = fork();
  if (pid == 0) _exit(function() ? 0 : 1);
  int status = -1;
  waitpid(pid, &status, 0);
  return status == 0;
}

/// In one that is another user, with those groups alone.
template <typename Function>
bool As(uid_t user, gid_t group, const std::vector<gid_t>& groups, Function function) {
  return InChild([&] {
    return setgroups(groups.size(), groups.data()) == 0 && setgid(group) == 0 &&
           setuid(user) == 0 && function();
  });
}

/// Runs tests of this program as on a system where a process cannot be had as a descriptor.
inline bool PassWithoutProcessHandles(const char* tests) {
  return InChild([&] {
    sock_filter code[] = {{BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
                          {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, SYS_pidfd_open},
                          {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | ENOSYS},
                          {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW}};
    const sock_fprog program = {.len = std::size(code), .filter = code};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0 &&
           execl("/proc/self/exe", "tests", tests, nullptr) == 0;
  });
}

#endif  // ZORVEX_TESTS_FOUNDATION_SYSTEM_STOPPABLEPROCESS_H
