// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_SOUNDHOST_H
#define ZORVEX_TESTS_SUPPORT_SOUNDHOST_H

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/soundcollector.h"

inline bool WaitUntil(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

inline std::chrono::steady_clock::duration Timed(const std::function<void()>& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::steady_clock::now() - begin;
}

/// The names of the sound devices that are there.
inline std::vector<std::string> SoundNames() {
  struct List final : IZRVXDeviceEnumerator {
    bool OnDevice(char const* name) override {
      names.emplace_back(name);
      return true;
    }
    std::vector<std::string> names;
  } list;
  ZRVXDeviceEnumerate(&list, ZRVXDeviceMediaTypeAudio, 0);
  return list.names;
}

/// One capture of a device's sound, as a host makes it; ends it promptly whatever became of the
/// device.
struct SoundCapture {
  explicit SoundCapture(const char* name) : handle(ZRVXDeviceGet(name, ZRVXDeviceMediaTypeAudio)) {}
  ~SoundCapture() {
    const auto end = [&] {
      EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
      EXPECT_TRUE(ZRVXDeviceClose(handle));
      EXPECT_TRUE(ZRVXDeviceRelease(handle));
    };
    EXPECT_LT(Timed(end), std::chrono::seconds(8));
  }
  SoundCapture(const SoundCapture&) = delete;
  SoundCapture& operator=(const SoundCapture&) = delete;

  bool Start() {
    return ZRVXDeviceOpen(handle) &&
           ZRVXDeviceStartCapture(handle, nullptr, 0, 0, 0, 0, &SoundCollector::OnSound,
                                  sound.Data(), 0, 48000, 2, 2, nullptr);
  }
  /// Whether nothing comes any more.
  bool IsSilent() {
    const std::size_t before = sound.Samples().size();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    return sound.Samples().size() == before;
  }

  SoundCollector sound;
  const unsigned long handle;
};

#endif  // ZORVEX_TESTS_SUPPORT_SOUNDHOST_H
