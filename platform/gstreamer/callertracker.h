// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_CALLERTRACKER_H
#define ZORVEX_PLATFORM_GSTREAMER_CALLERTRACKER_H

#include <cxxabi.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/nsobject.h"

namespace gstreamer {

/// Knows which threads are inside the delegates of one output. Thread-safe; allocates nothing once
/// made.
class CallerTracker {
 public:
  CallerTracker();

  void Enter();
  void Leave();
  /// Whether the calling thread is inside.
  bool IsInside() const;
  /// Whether it is inside the delegate of any output.
  static bool IsInsideAny();
  /// Whether any thread is inside.
  bool IsAnybodyInside() const;

  /// A scope in which the calling thread waits for others: if it is inside itself, those do not
  /// wait for it.
  class WaitScope {
   public:
    explicit WaitScope(CallerTracker& tracker) : tracker_(tracker) { tracker_.SetWaiting(true); }
    ~WaitScope() { tracker_.SetWaiting(false); }
    WaitScope(const WaitScope&) = delete;
    WaitScope& operator=(const WaitScope&) = delete;

   private:
    CallerTracker& tracker_;
  };
  /// Waits until no other thread is inside but those that wait themselves, at most for `limit`.
  void AwaitOthers(std::chrono::milliseconds limit);

 private:
  struct Caller {
    std::thread::id thread;
    bool isWaiting = false;
  };

  void SetWaiting(bool isWaiting);

  mutable std::mutex mutex_;  ///< guards what follows
  std::condition_variable left_;
  std::vector<Caller> inside_;
};

/// An output's delegate: set by one thread, called by another.
template <class Delegate>
class DelegateGate {
 public:
  /// After setting none, no call begins; one that is in progress goes on.
  void Set(Delegate* delegate) {
    Retained<Delegate> retained(delegate);
    const std::lock_guard lock(mutex_);
    std::swap(delegate_, retained);
  }
  /// Calls `call` with the delegate, if there is one, on the calling thread. No lock is held
  /// meanwhile.
  template <class Call>
  void Deliver(Call call) {
    Retained<Delegate> delegate;
    {
      const std::lock_guard lock(mutex_);
      if (!delegate_) return;
      delegate = delegate_;
      callers_.Enter();  // with the lock: who has set none sees who is inside
    }
    try {
      call(*delegate);
    } catch (abi::__forced_unwind&) {
      callers_.Leave();
      throw;
    } catch (...) {
      // A host's exception ends here: behind this call is C code that knows none.
    }
    callers_.Leave();
  }
  CallerTracker& Callers() { return callers_; }
  const CallerTracker& Callers() const { return callers_; }

 private:
  std::mutex mutex_;  ///< guards the delegate
  Retained<Delegate> delegate_;
  CallerTracker callers_;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_CALLERTRACKER_H
