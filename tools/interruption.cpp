// SPDX-License-Identifier: MIT
#include "tools/interruption.h"

#include <pthread.h>
#include <unistd.h>

#include <utility>

#include "tools/exitcode.h"

namespace {

constexpr auto sameWish = std::chrono::milliseconds(500);

bool IsIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

Interruption::Interruption(std::function<void()> onFirst) : onFirst_(std::move(onFirst)) {
  sigemptyset(&signals_);
  for (const int signal : {SIGINT, SIGHUP}) {
    if (!IsIgnored(signal)) sigaddset(&signals_, signal);
  }
  sigaddset(&signals_, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  thread_ = std::thread([this] { Run(); });
}

Interruption::~Interruption() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread): blocked there, it only ends the wait.
  pthread_kill(thread_.native_handle(), SIGTERM);
  thread_.join();
}

void Interruption::Defer() {
  const std::lock_guard lock(mutex_);
  deferred_ = true;
}

void Interruption::Run() {
  int signal = 0;
  while (sigwait(&signals_, &signal) == 0 && Handle()) {
  }
}

/// False when the thread is to end.
bool Interruption::Handle() {
  {
    const std::lock_guard lock(mutex_);
    if (ending_) return false;
    const auto now = std::chrono::steady_clock::now();
    if (first_ && now - *first_ < sameWish) return true;
    if (!deferred_ || first_) _exit(static_cast<int>(ExitCode::Interrupted));
    first_ = now;
  }
  onFirst_();
  return true;
}
