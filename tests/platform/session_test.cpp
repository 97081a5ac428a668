// SPDX-License-Identifier: MIT
//
// The session of this system, driven through the exported functions on sources whose media the
// test knows.
#include <gst/video/video.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "platform/cvpixelbuffer.h"
#include "tests/support/allocations.h"
#include "tests/support/framecounter.h"
#include "tests/support/testsource.h"

namespace {

using namespace std::chrono_literals;

/// A source that remembers where the memory of its frames lies.
class WatchedSource final : public TestSourceDevice {
 public:
  using TestSourceDevice::TestSourceDevice;
  std::set<const void*> Memory() {
    const std::lock_guard lock(mutex_);
    return memory_;
  }

 protected:
  Source MakeSource(const CVPixelBufferAttributes& wish) override {
    const Source source = TestSourceDevice::MakeSource(wish);
    GstPad* pad = gst_element_get_static_pad(source.element, "src");
    gst_pad_add_probe(
        pad, GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad*, GstPadProbeInfo* info, gpointer self) {
          GstMapInfo map;
          gst_buffer_map(GST_PAD_PROBE_INFO_BUFFER(info), &map, GST_MAP_READ);
          auto* watched = static_cast<WatchedSource*>(self);
          const std::lock_guard lock(watched->mutex_);
          watched->memory_.insert(map.data);
          gst_buffer_unmap(GST_PAD_PROBE_INFO_BUFFER(info), &map);
          return GST_PAD_PROBE_OK;
        },
        this, nullptr);
    gst_object_unref(pad);
    return source;
  }

 private:
  std::mutex mutex_;
  std::set<const void*> memory_;
};

constexpr const char* kUyvy = "video/x-raw,format=UYVY,width=320,height=240,framerate=30/1";

TEST(Session, PassesNativeFramesWithoutACopyAndWithoutAllocating) {
  const auto source = MakeRetained<WatchedSource>("videotestsrc", kUyvy);
  const TestSourcePlatform platform({source});
  const unsigned long handle = OpenDevice("test source");
  FrameCounter seen;
  std::set<const void*> passed;
  long allocations[64] = {};
  seen.inCallBack = [&](const unsigned char* pixels) {
    if (seen.frames < 32) passed.insert(pixels);
    if (seen.frames < 64) allocations[seen.frames] = AllocationsOfThisThread();
  };
  ASSERT_TRUE(Start(handle, seen));
  ASSERT_TRUE(seen.WaitForFrames(64));
  StopAndRelease(handle);
  EXPECT_EQ(640u, seen.bytesPerRow);
  EXPECT_TRUE(std::ranges::includes(source->Memory(), passed));
  EXPECT_EQ(allocations[32], allocations[63]);
}

TEST(Session, ConvertsToWhatIsAskedFor) {
  constexpr const char* kWide = "video/x-raw,format=YUY2,width=640,height=360,framerate=30/1";
  constexpr const char* kCodeless = "video/x-raw,format=YVYU,width=320,height=240,framerate=30/1";
  constexpr const char* kJpeg = "image/jpeg,width=320,height=240,framerate=30/1";
  const struct {
    const char* native;
    unsigned int format;
    unsigned long width, height;
    unsigned int expectedFormat;
    unsigned long expectedWidth, expectedHeight;
  } table[] = {
      {kUyvy, 0, 0, 0, FourCharCode("2vuy"), 320, 240},
      {kUyvy, FourCharCode("420f"), 0, 0, FourCharCode("420f"), 320, 240},
      {kUyvy, 32, 160, 120, 32, 160, 120},
      {kUyvy, 0, 100, 100, FourCharCode("2vuy"), 100, 100},
      // One side alone: the other follows, the picture is not distorted.
      {kWide, 0, 320, 0, FourCharCode("yuvs"), 320, 180},
      {kWide, 0, 0, 720, FourCharCode("yuvs"), 1280, 720},
      // A native format without a code comes as one that has a code.
      {kCodeless, 0, 0, 0, FourCharCode("2vuy"), 320, 240},
      {kJpeg, FourCharCode("BGRA"), 160, 120, FourCharCode("BGRA"), 160, 120},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(&row - table);
    const TestSourcePlatform platform({MakeRetained<TestSourceDevice>(
        row.native == kJpeg ? "videotestsrc ! jpegenc" : "videotestsrc", row.native)});
    const unsigned long handle = OpenDevice("Test Source");
    FrameCounter seen;
    ASSERT_TRUE(Start(handle, seen, "", row.format, row.width, row.height));
    EXPECT_TRUE(seen.WaitForFrames(2));
    StopAndRelease(handle);
    EXPECT_EQ(row.expectedFormat, seen.pixelFormat);
    EXPECT_EQ(row.expectedWidth, seen.width);
    EXPECT_EQ(row.expectedHeight, seen.height);
  }
}

/// The session on a source that gives pictures of one size.
class SessionTest : public testing::Test {
 protected:
  void TearDown() override { StopAndRelease(handle); }

  const TestSourcePlatform platform{{MakeRetained<TestSourceDevice>("videotestsrc", kUyvy)}};
  const unsigned long handle = OpenDevice("Test Source");
  FrameCounter seen;
};

TEST_F(SessionTest, RefusesPicturesThatCannotBeMade) {
  const struct {
    unsigned int format;
    unsigned long width, height;
  } table[] = {{0xFFFFFFFFu, 0, 0}, {FourCharCode("zzzz"), 0, 0}, {0, 1ul << 40, 0}, {0, 0, ~0ul}};
  for (const auto& row : table) {
    EXPECT_FALSE(Start(handle, seen, "", row.format, row.width, row.height));
    EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
    EXPECT_TRUE(Start(handle, seen)) << "the wish is not kept";
    EXPECT_TRUE(seen.WaitForFrames(seen.Frames() + 1));
    EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  }
}

TEST_F(SessionTest, ADeviceThatWasClosedAtTheFirstStartJoinsTheNext) {
  EXPECT_TRUE(ZRVXDeviceClose(handle));
  EXPECT_FALSE(Start(handle, seen));
  ASSERT_TRUE(ZRVXDeviceOpen(handle));
  EXPECT_TRUE(Start(handle, seen));
  EXPECT_TRUE(seen.WaitForFrames(1));
}

TEST(Session, ASourceThatFailsDoesNotCapture) {
  // Caps that the source cannot do: the failure comes on the streaming thread.
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>(
      "videotestsrc", "audio/x-raw,format=S16LE,rate=48000,channels=2")});
  const unsigned long handle = OpenDevice("Test Source");
  FrameCounter seen;
  EXPECT_TRUE(ZRVXDeviceStartCapture(handle, nullptr, 0, 0, 0, 0, nullptr, 0, 0, 0, 0, 0, nullptr));
  EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
  StopAndRelease(handle);
}

TEST_F(SessionTest, StopsAndStartsFromInsideItsCallback) {
  for (const bool restarts : {false, false, true}) {
    std::atomic<bool> isFirst = true;
    seen.frames = 0;
    seen.inCallBack = [&](auto*) {
      if (!isFirst.exchange(false)) return;
      const auto begin = std::chrono::steady_clock::now();
      EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
      EXPECT_TRUE(!restarts || Start(handle, seen));
      EXPECT_EQ(restarts, ZRVXDeviceIsCapturing(handle));
      EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms);
    };
    ASSERT_TRUE(Start(handle, seen));
    EXPECT_TRUE(seen.WaitForFrames(restarts ? 5 : 1));
    EXPECT_TRUE(restarts || seen.Frames() == 1);
  }
}

/// The callback adds a recording to its own capture, which makes the session change its run.
TEST_F(SessionTest, AStopWaitsForTheCallbackAlsoWhileTheSessionChanges) {
  std::atomic<bool> isInside = false;
  const std::string movie =
      testing::TempDir() + "zorvex-session-test-" + std::to_string(getpid()) + ".mov";
  seen.inCallBack = [&](auto*) {
    Start(handle, seen, movie);
    isInside = true;
    std::this_thread::sleep_for(300ms);
    isInside = false;
  };
  ASSERT_TRUE(Start(handle, seen));
  while (!isInside)
    std::this_thread::yield();
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  EXPECT_FALSE(isInside);
  unlink(movie.c_str());
}

TEST_F(SessionTest, ClosingADeviceEndsItsFrames) {
  ASSERT_TRUE(Start(handle, seen));
  ASSERT_TRUE(seen.WaitForFrames(1));
  EXPECT_TRUE(ZRVXDeviceClose(handle));
  const int frames = seen.frames;  // no frame is under way any more
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  EXPECT_TRUE(ZRVXDeviceIsCapturing(handle)) << "stopping a closed device changes nothing";
  ASSERT_TRUE(ZRVXDeviceOpen(handle));
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  EXPECT_EQ(frames, seen.frames);
}

}  // namespace
