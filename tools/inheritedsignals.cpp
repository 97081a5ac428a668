// SPDX-License-Identifier: MIT
#include "tools/inheritedsignals.h"

#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <iterator>

namespace {

constexpr int kSignals[] = {SIGPIPE, SIGQUIT, SIGILL, SIGFPE, SIGSEGV, SIGBUS, SIGINT, SIGTERM};
bool isIgnored[std::size(kSignals)];

// Of the kernel itself: the sanitizers' sigaction is not ready so early.
__attribute__((no_sanitize("address", "thread", "undefined"))) void Record() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    void* action[16] = {};  // begins with the handler
    syscall(SYS_rt_sigaction, kSignals[i], nullptr, action, std::size_t{_NSIG / 8});
    isIgnored[i] = action[0] == reinterpret_cast<void*>(SIG_IGN);
  }
}

// Runs before the libraries are initialised.
__attribute__((section(".preinit_array"), used)) void (*const record)() = Record;

}  // namespace

void RestoreInheritedSignals() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i)
    signal(kSignals[i], isIgnored[i] ? SIG_IGN : SIG_DFL);
}
