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
    const unsigned long handle = ZRVXDeviceGet(row.name, ZRVXDeviceMediaTypeVideo);
    EXPECT_LT(TimeOf([&] { EXPECT_FALSE(ZRVXDeviceOpen(handle)); }), row.atMost);
    EXPECT_EQ(row.isBusy, ZRVXDeviceIsUsedByAnotherApplication(handle));
    EXPECT_FALSE(ZRVXDeviceIsOpened(handle));
    FrameCounter counter;
    EXPECT_FALSE(Start(handle, counter));
    StopAndRelease(handle);
  }
}

TEST(Faults, ADeviceThatStoppedAnsweringIsStoppedAndOthersGoOn) {
  const SimulatedPlatform platform(
      "camera:name=Hangs,size=320x240,hang-after=5,hang-for=6;"
      "camera:name=Stalls,size=320x240,stall-after=5;"
      "camera:name=Gone,size=320x240,unplug-after=5;camera:name=Works,size=320x240");
  FrameCounter works;
  std::atomic<int> calls = 0;  // of a host that throws at each frame
  works.inCallBack = [&](auto*) {
    ++calls;
    throw std::runtime_error("the host's own");
  };
  const unsigned long other = OpenDevice("Works");
  ASSERT_TRUE(Start(other, works));
  for (const char* name : {"Stalls", "Gone", "Hangs"}) {
    SCOPED_TRACE(name);
    const unsigned long handle = OpenDevice(name);
    FrameCounter counter;
    ASSERT_TRUE(Start(handle, counter));
    ASSERT_TRUE(counter.WaitForFrames(5));
    const bool isGone = std::string_view(name) == "Gone";
    while (isGone && ZRVXDeviceIsConnected(handle))
      std::this_thread::yield();
    EXPECT_TRUE(ZRVXDeviceIsCapturing(handle)) << "until it is stopped";
    EXPECT_TRUE(ZRVXDeviceIsOpened(handle));
    EXPECT_LT(TimeOf([&] { StopAndRelease(handle); }), 5s);
    EXPECT_EQ(5, counter.Frames());
    const Clock::time_point end = Clock::now() + 20s;
    for (const int before = calls; calls < before + 5;) {
      ASSERT_LT(Clock::now(), end);
      std::this_thread::sleep_for(5ms);
    }
  }
  StopAndRelease(other);
}

TEST(Faults, ADeviceThatIsPluggedInAgainCapturesAgain) {
  const SimulatedPlatform platform("camera:name=Back,size=320x240,unplug-after=5,replug-after=3");
  const unsigned long handle = OpenDevice("Back");
  for (const int frames : {5, 20}) {
    FrameCounter counter;
    EXPECT_TRUE(Start(handle, counter));
    EXPECT_TRUE(counter.WaitForFrames(frames));
    while (frames == 5 && ZRVXDeviceIsConnected(handle))
      std::this_thread::yield();
    EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
    EXPECT_TRUE(ZRVXDeviceClose(handle));
    if (frames == 5) {
      EXPECT_FALSE(ZRVXDeviceOpen(handle)) << "while it is unplugged";
      while (!ZRVXDeviceIsConnected(handle))
        std::this_thread::yield();
      EXPECT_TRUE(ZRVXDeviceOpen(handle));
    }
  }
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

TEST(Faults, ACallbackThatDoesNotReturnDoesNotHoldUpTheStop) {
  const SimulatedPlatform platform;
  std::mutex gate;
  std::atomic<bool> isInside = false;
  gate.lock();
  const unsigned long handle = OpenDevice("Simulated Camera");
  FrameCounter stuck, counter;
  stuck.inCallBack = [&](auto*) {
    isInside = true;
    const std::lock_guard lock(gate);
  };
  ASSERT_TRUE(Start(handle, stuck));
  while (!isInside)
    std::this_thread::yield();
  EXPECT_LT(TimeOf([&] { EXPECT_TRUE(ZRVXDeviceStopCapture(handle)); }), 5s);
  EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
  gate.unlock();
  // The device is free again as soon as the callback has returned.
  ASSERT_TRUE(Start(handle, counter));
  EXPECT_TRUE(counter.WaitForFrames(1));
  EXPECT_TRUE(stuck.WaitForFrames(1));
  StopAndRelease(handle);
}

TEST(Faults, StoppingFromEverywhereAtOnce) {
  const SimulatedPlatform platform("camera:name=Small,size=320x240,rate=120");
  const unsigned long handle = OpenDevice("Small");
  for (int round = 0; round < 10; ++round) {
    FrameCounter counter;
    std::atomic<bool> isInside = false;
    counter.inCallBack = [&](auto*) {
      isInside = true;
      ZRVXDeviceStopCapture(handle);
    };
    ASSERT_TRUE(Start(handle, counter));
    while (!isInside)
      std::this_thread::yield();
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
    EXPECT_TRUE(counter.WaitForFrames(1));
  }
  StopAndRelease(handle);
}

TEST(Faults, EightCamerasAtOnceLoseNothing) {
  std::string description;
  for (int i = 0; i < 8; ++i)
    description += "camera:name=Camera " + std::to_string(i) + ",size=640x480,rate=30;";
  const SimulatedPlatform platform(description);
  std::array<FrameCounter, 8> cameras;
  std::array<unsigned long, 8> handles{};
  std::atomic<int> gaps = 0;
  for (std::size_t i = 0; i < handles.size(); ++i) {
    handles[i] = OpenDevice("Camera " + std::to_string(i));
    cameras[i].inCallBack = [&gaps, next = 0](const unsigned char* pixels) mutable {
      const PictureView picture{pixels, FourCharCode("2vuy"), 640, 480, 1280};
      if (std::stoi(ReadBurntIn(picture)) != next++) ++gaps;
    };
    ASSERT_TRUE(Start(handles[i], cameras[i]));
  }
  for (FrameCounter& camera : cameras)
    EXPECT_TRUE(camera.WaitForFrames(60));
  for (const unsigned long handle : handles)
    StopAndRelease(handle);
  EXPECT_EQ(0, gaps);
}

}  // namespace
