// SPDX-License-Identifier: MIT
#include "platform/gstreamer/callertracker.h"

#include <algorithm>

namespace {

/// More threads than ever are inside one output: one, and for a moment a second one while a run
/// that was stopped from inside its callback ends and the next one begins.
constexpr std::size_t kThreadsInside = 4;

thread_local int delegatesAround = 0;  ///< whose calls the thread is inside of

}  // namespace

namespace gstreamer {

CallerTracker::CallerTracker() {
  inside_.reserve(kThreadsInside);
}

void CallerTracker::Enter() {
  const std::lock_guard lock(mutex_);
  inside_.push_back({std::this_thread::get_id()});
  ++delegatesAround;
}

void CallerTracker::Leave() {
  --delegatesAround;
  const std::lock_guard lock(mutex_);
  inside_.erase(std::find_if(inside_.begin(), inside_.end(), [](const Caller& caller) {
    return caller.thread == std::this_thread::get_id();
  }));
  left_.notify_all();
}

bool CallerTracker::IsInsideAny() {
  return delegatesAround > 0;
}

bool CallerTracker::IsInside() const {
  const std::lock_guard lock(mutex_);
  return std::any_of(inside_.begin(), inside_.end(), [](const Caller& caller) {
    return caller.thread == std::this_thread::get_id();
  });
}

bool CallerTracker::IsAnybodyInside() const {
  const std::lock_guard lock(mutex_);
  return !inside_.empty();
}

void CallerTracker::SetWaiting(bool isWaiting) {
  const std::lock_guard lock(mutex_);
  for (Caller& caller : inside_) {
    if (caller.thread == std::this_thread::get_id()) caller.isWaiting = isWaiting;
  }
  left_.notify_all();
}

void CallerTracker::AwaitOthers(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  left_.wait_for(lock, limit, [&] {
    return std::all_of(inside_.begin(), inside_.end(), [](const Caller& caller) {
      return caller.isWaiting || caller.thread == std::this_thread::get_id();
    });
  });
}

}  // namespace gstreamer
