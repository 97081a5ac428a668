// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_INTERRUPTION_H
#define ZORVEX_TOOLS_INTERRUPTION_H

#include <signal.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

/// Receives Ctrl-C, SIGTERM and the loss of the terminal on a thread that waits for them, so that
/// no handler interrupts anything. A signal that the program was started to ignore, as under nohup,
/// stays ignored.
///
/// To be made before any other thread, which would receive the signals otherwise.
class Interruption {
 public:
  /// `onFirst` is called on the thread of this object.
  explicit Interruption(std::function<void()> onFirst);
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// From now on the first signal calls `onFirst` and the next one ends the program; until now any
  /// would have ended it, as there was nothing to bring to an end. What comes within half a second
  /// of the first is the same wish: timeout and the like signal a program and then its whole group.
  void Defer();

 private:
  void Run();
  bool Handle();

  const std::function<void()> onFirst_;
  std::mutex mutex_;
  bool deferred_ = false;
  bool ending_ = false;
  std::optional<std::chrono::steady_clock::time_point> first_;
  sigset_t signals_;
  std::thread thread_;
};

#endif  // ZORVEX_TOOLS_INTERRUPTION_H
