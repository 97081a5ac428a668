// SPDX-License-Identifier: MIT
#include "platform/processhandle.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

// By number: the C library has these calls under their names since glibc 2.36 only.

UniqueFd OpenProcessHandle(int pid) {
  return UniqueFd(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
}

int SignalProcessHandle(const UniqueFd& process, int signal) {
  return syscall(SYS_pidfd_send_signal, process.Get(), signal, nullptr, 0) == 0 ? 0 : errno;
}
