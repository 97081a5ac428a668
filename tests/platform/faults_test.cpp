// SPDX-License-Identifier: MIT
//
// What goes wrong with devices, through the exported functions: nothing may hang, crash or disturb
// another device.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

#include "tests/support/burntin.h"
#include "tests/support/framecounter.h"
#include "tests/support/testsource.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

unsigned long Get(const std::string& name) {
  const unsigned long handle = ZRVXDeviceGet(name.c_str(), ZRVXDeviceMediaTypeVideo);
  EXPECT_NE(0u, handle) << name;
  return handle;
}

template <class Body>
Clock::duration TimeOf(Body body) {
  const Clock::time_point begin = Clock::now();
  body();
  return Clock::now() - begin;
}

TEST(Faults, DevicesThatDoNotOpen) {
  const SimulatedPlatform platform(
      "camera:name=Busy,busy=yes;camera:name=Refuses,open=refuse;"
      "camera:name=Hangs,open=hang,hang-for=7");
  const struct {
    const char* name;
    bool isBusy;
    Clock::duration atMost;
  } table[] = {{"Busy", true, 1s}, {"Refuses", false, 1s}, {"Hangs", false, 6s}};
  for (const auto& row : table) {
    SCOPED_TRACE(row.name);
    const unsigned long handle = Get(row.name);
    EXPECT_LT(TimeOf([&] { EXPECT_FALSE(ZRVXDeviceOpen(handle)); }), row.atMost);
    EXPECT_EQ(row.isBusy, ZRVXDeviceIsUsedByAnotherApplication(handle));
    EXPECT_FALSE(ZRVXDeviceIsOpened(handle));
    FrameCounter counter;
    EXPECT_FALSE(Start(handle, FrameCounter::OnFrame, counter));
    StopAndRelease(handle);
  }
}

TEST(Faults, ADeviceThatStoppedAnsweringIsStoppedAndOthersGoOn) {
  const SimulatedPlatform platform(
      "camera:name=Hangs,size=320x240,hang-after=5,hang-for=6;"
      "camera:name=Stalls,size=320x240,stall-after=5;"
      "camera:name=Gone,size=320x240,unplug-after=5;camera:name=Works,size=320x240");
  FrameCounter works;
  const unsigned long other = Get("Works");
  ASSERT_TRUE(ZRVXDeviceOpen(other));
  ASSERT_TRUE(Start(other, FrameCounter::OnFrame, works));
  for (const char* name : {"Stalls", "Gone", "Hangs"}) {
    SCOPED_TRACE(name);
    const unsigned long handle = Get(name);
    FrameCounter counter;
    ASSERT_TRUE(ZRVXDeviceOpen(handle));
    ASSERT_TRUE(Start(handle, FrameCounter::OnFrame, counter));
    ASSERT_TRUE(counter.WaitForFrames(5));
    const bool isGone = std::string_view(name) == "Gone";
    while (isGone && ZRVXDeviceIsConnected(handle))
      std::this_thread::yield();
    EXPECT_TRUE(ZRVXDeviceIsCapturing(handle)) << "until it is stopped";
    EXPECT_TRUE(ZRVXDeviceIsOpened(handle));
    EXPECT_LT(TimeOf([&] { StopAndRelease(handle); }), 5s);
    EXPECT_EQ(5, counter.Frames());
    EXPECT_TRUE(works.WaitForFrames(works.Frames() + 5));
  }
  StopAndRelease(other);
}

TEST(Faults, ADeviceThatIsPluggedInAgainCapturesAgain) {
  const SimulatedPlatform platform("camera:name=Back,size=320x240,unplug-after=5,replug-after=3");
  const unsigned long handle = Get("Back");
  const auto captureFrames = [&](int count, bool isUnplugged) {
    FrameCounter counter;
    EXPECT_TRUE(ZRVXDeviceOpen(handle));
    EXPECT_TRUE(Start(handle, FrameCounter::OnFrame, counter));
    EXPECT_TRUE(counter.WaitForFrames(count));
    while (isUnplugged && ZRVXDeviceIsConnected(handle))
      std::this_thread::yield();
    EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
    EXPECT_TRUE(ZRVXDeviceClose(handle));
  };
  captureFrames(5, true);
  EXPECT_FALSE(ZRVXDeviceOpen(handle)) << "while it is unplugged";
  while (!ZRVXDeviceIsConnected(handle))
    std::this_thread::yield();
  captureFrames(20, false);
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

TEST(Faults, ACallbackThatDoesNotReturnDoesNotHoldUpTheStop) {
  const SimulatedPlatform platform;
  static std::mutex gate;
  static std::atomic<bool> isInside = false;
  gate.lock();
  const unsigned long handle = Get("Simulated Camera");
  ASSERT_TRUE(ZRVXDeviceOpen(handle));
  FrameCounter counter;
  ASSERT_TRUE(Start(
      handle,
      [](unsigned char const*, unsigned int, unsigned long, unsigned long, unsigned long,
         SMPTETime const*, long) {
        isInside = true;
        const std::lock_guard lock(gate);
      },
      counter));
  while (!isInside)
    std::this_thread::yield();
  EXPECT_LT(TimeOf([&] { EXPECT_TRUE(ZRVXDeviceStopCapture(handle)); }), 5s);
  EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
  gate.unlock();
  // The device is free again as soon as the callback has returned.
  ASSERT_TRUE(Start(handle, FrameCounter::OnFrame, counter));
  EXPECT_TRUE(counter.WaitForFrames(1));
  StopAndRelease(handle);
}

TEST(Faults, ACallbackThatThrowsLosesNoFrame) {
  const SimulatedPlatform platform("camera:name=Small,size=320x240");
  const unsigned long handle = Get("Small");
  ASSERT_TRUE(ZRVXDeviceOpen(handle));
  FrameCounter counter;
  ASSERT_TRUE(Start(
      handle,
      [](unsigned char const* pixels, unsigned int format, unsigned long width,
         unsigned long height, unsigned long bytesPerRow, SMPTETime const* timeCode, long data) {
        FrameCounter::OnFrame(pixels, format, width, height, bytesPerRow, timeCode, data);
        throw std::runtime_error("the host's own");
      },
      counter));
  EXPECT_TRUE(counter.WaitForFrames(10));
  StopAndRelease(handle);
}

TEST(Faults, StoppingFromEverywhereAtOnce) {
  const SimulatedPlatform platform("camera:name=Small,size=320x240,rate=120");
  const unsigned long handle = Get("Small");
  ASSERT_TRUE(ZRVXDeviceOpen(handle));
  for (int round = 0; round < 10; ++round) {
    FrameCounter counter;
    counter.handle = handle;
    ASSERT_TRUE(Start(
        handle,
        [](unsigned char const*, unsigned int, unsigned long, unsigned long, unsigned long,
           SMPTETime const*, long data) {
          auto& self = *reinterpret_cast<FrameCounter*>(data);
          self.Count();
          ZRVXDeviceStopCapture(self.handle);
          self.Count();
        },
        counter));
    ASSERT_TRUE(counter.WaitForFrames(1));
    std::array<std::jthread, 4> threads;
    for (std::jthread& thread : threads) {
      thread = std::jthread([&] {
        SMPTETime timeCode;
        ZRVXDeviceGetSMPTETime(handle, &timeCode);
        ZRVXDeviceInvalidateCaptureVideoCallBack(handle, nullptr, 0);
        ZRVXDeviceStopCapture(handle);
        EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
      });
    }
    // A callback that has not stopped yet would stop the next round.
    EXPECT_TRUE(counter.WaitForFrames(2));
  }
  StopAndRelease(handle);
}

/// Reads the number that a camera burns into its frames and counts the gaps.
struct Numbers {
  std::atomic<int> frames = 0;
  std::atomic<int> gaps = 0;
  int last = -1;

  static void OnFrame(unsigned char const* pixels, unsigned int format, unsigned long width,
                      unsigned long height, unsigned long bytesPerRow, SMPTETime const*,
                      long data) {
    auto& self = *reinterpret_cast<Numbers*>(data);
    const int number = std::stoi(ReadBurntIn({pixels, format, width, height, bytesPerRow}));
    if (number != self.last + 1) ++self.gaps;
    self.last = number;
    ++self.frames;
  }
};

TEST(Faults, EightCamerasAtOnceLoseNothing) {
  std::string description;
  for (int i = 0; i < 8; ++i) {
    description += "camera:name=Camera " + std::to_string(i) + ",size=640x480,rate=30;";
  }
  const SimulatedPlatform platform(description);
  std::array<Numbers, 8> numbers;
  std::array<unsigned long, 8> handles{};
  for (std::size_t i = 0; i < handles.size(); ++i) {
    handles[i] = Get("Camera " + std::to_string(i));
    ASSERT_TRUE(ZRVXDeviceOpen(handles[i]));
    ASSERT_TRUE(ZRVXDeviceStartCapture(handles[i], Numbers::OnFrame,
                                       reinterpret_cast<long>(&numbers[i]), 0, 0, 0, nullptr, 0, 0,
                                       0, 0, 0, nullptr));
  }
  const Clock::time_point end = Clock::now() + 20s;
  while (numbers.back().frames < 60 && Clock::now() < end)
    std::this_thread::sleep_for(5ms);
  for (const unsigned long handle : handles) {
    StopAndRelease(handle);
  }
  for (const Numbers& camera : numbers) {
    EXPECT_GE(camera.frames, 60);
    EXPECT_EQ(0, camera.gaps);
  }
}

}  // namespace
