// SPDX-License-Identifier: MIT
#include "platform/boundedcall.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

BoundedCall RunBounded(std::chrono::milliseconds limit, std::function<void()> work) {
  struct Progress {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
  };
  const auto progress = std::make_shared<Progress>();
  std::thread thread;
  try {
    thread = std::thread([progress, work = std::move(work)]() mutable {
      work();
      work = nullptr;  // what it owned is gone when the waiter goes on
      const std::lock_guard lock(progress->mutex);
      progress->done = true;
      progress->changed.notify_one();
    });
  } catch (const std::system_error&) {
    return BoundedCall::NotBegun;
  }
  std::unique_lock lock(progress->mutex);
  const bool inTime = progress->changed.wait_for(lock, limit, [&] { return progress->done; });
  lock.unlock();
  if (inTime) {
    thread.join();
  } else {
    thread.detach();
  }
  return inTime ? BoundedCall::Done : BoundedCall::Late;
}
