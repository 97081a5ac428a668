// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_FOUNDATION_THREADS_WAITING_H
#define ZORVEX_TESTS_FOUNDATION_THREADS_WAITING_H

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

/// SIGUSR1 is caught, and does not restart the system calls that it interrupts.
class WaitingTest : public testing::Test {
 protected:
  WaitingTest() {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
  }
};

/// A thread that is expected to block in one call.
class BlockedThread {
 public:
  template <typename Function>
  explicit BlockedThread(Function function)
      : thread_([this, function] {
          id_ = gettid();
          function();
          done_ = true;
        }) {}

  /// Returns when the thread sleeps in the kernel or has ended. True when it sleeps: a call that
  /// ought to block has had every chance not to.
  bool Asleep() const {
    while (!done_) {
      std::ifstream file("/proc/self/task/" + std::to_string(id_) + "/stat");
      std::string stat;
      if (std::getline(file, stat) && stat[stat.rfind(')') + 2] == 'S' && !done_) return true;
      std::this_thread::yield();
    }
    return false;
  }
  /// Makes a signal handler run on the thread.
  void Interrupt() { pthread_kill(thread_.native_handle(), SIGUSR1); }
  void Join() { thread_.join(); }

 private:
  std::atomic<pid_t> id_{-1};
  std::atomic<bool> done_{false};
  std::jthread thread_;
};

template <typename Function>
long MillisecondsOf(Function function) {
  const auto start = std::chrono::steady_clock::now();
  function();
  const auto elapsed = std::chrono::steady_clock::now() - start;
  return std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
}

#endif  // ZORVEX_TESTS_FOUNDATION_THREADS_WAITING_H
