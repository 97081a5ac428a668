// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_FRAMECOUNTER_H
#define ZORVEX_TESTS_SUPPORT_FRAMECOUNTER_H

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "capture/zorvex.h"

/// A host's side of a capture: counts the frames, and lets the test wait for them.
struct FrameCounter {
  std::mutex mutex;
  std::condition_variable changed;
  int frames = 0;
  unsigned long handle = 0;                    ///< for callbacks of the test's own
  std::chrono::milliseconds callBackTakes{0};  ///< how slow the callback is

  static void OnFrame(unsigned char const*, unsigned int, unsigned long, unsigned long,
                      unsigned long, SMPTETime const*, long data) {
    auto& counter = *reinterpret_cast<FrameCounter*>(data);
    std::this_thread::sleep_for(counter.callBackTakes);
    counter.Count();
  }
  void Count() {
    const std::lock_guard lock(mutex);
    ++frames;
    changed.notify_all();
  }
  bool WaitForFrames(int count) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(30), [&] { return frames >= count; });
  }
  int Frames() {
    const std::lock_guard lock(mutex);
    return frames;
  }
};

inline bool Start(unsigned long handle, ZRVXVideoCallBack callBack, FrameCounter& counter,
                  const std::string& movie = {}) {
  return ZRVXDeviceStartCapture(handle, callBack, reinterpret_cast<long>(&counter), 0, 0, 0,
                                nullptr, 0, 0, 0, 0, 0, movie.empty() ? nullptr : movie.c_str());
}

inline void StopAndRelease(unsigned long handle) {
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
  EXPECT_TRUE(ZRVXDeviceClose(handle));
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

#endif  // ZORVEX_TESTS_SUPPORT_FRAMECOUNTER_H
