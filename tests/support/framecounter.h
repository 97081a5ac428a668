// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_FRAMECOUNTER_H
#define ZORVEX_TESTS_SUPPORT_FRAMECOUNTER_H

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

#include "capture/zorvex.h"

/// A host's side of a capture: counts the frames, keeps what the latest was, and lets the test wait
/// for them.
struct FrameCounter {
  std::mutex mutex;
  std::condition_variable changed;
  int frames = 0;
  unsigned int pixelFormat = 0;
  unsigned long width = 0, height = 0, bytesPerRow = 0;
  /// What the callback does before it counts; set before the start.
  std::function<void(const unsigned char* pixels)> inCallBack;

  static void OnFrame(unsigned char const* pixels, unsigned int pixelFormat, unsigned long width,
                      unsigned long height, unsigned long bytesPerRow, SMPTETime const*,
                      long data) {
    auto& counter = *reinterpret_cast<FrameCounter*>(data);
    if (counter.inCallBack) counter.inCallBack(pixels);
    const std::lock_guard lock(counter.mutex);
    ++counter.frames;
    counter.pixelFormat = pixelFormat;
    counter.width = width;
    counter.height = height;
    counter.bytesPerRow = bytesPerRow;
    counter.changed.notify_all();
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

inline bool Start(unsigned long handle, FrameCounter& counter, const std::string& movie = {},
                  unsigned int format = 0, unsigned long width = 0, unsigned long height = 0) {
  return ZRVXDeviceStartCapture(handle, FrameCounter::OnFrame, reinterpret_cast<long>(&counter),
                                format, width, height, nullptr, 0, 0, 0, 0, 0,
                                movie.empty() ? nullptr : movie.c_str());
}

inline unsigned long OpenDevice(const std::string& name) {
  const unsigned long handle = ZRVXDeviceGet(name.c_str(), ZRVXDeviceMediaTypeVideo);
  EXPECT_TRUE(ZRVXDeviceOpen(handle)) << name;
  return handle;
}

inline void StopAndRelease(unsigned long handle) {
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
  EXPECT_TRUE(ZRVXDeviceClose(handle));
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

#endif  // ZORVEX_TESTS_SUPPORT_FRAMECOUNTER_H
