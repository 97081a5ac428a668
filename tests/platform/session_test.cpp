// SPDX-License-Identifier: MIT
//
// The session of this system, driven through the exported functions on sources whose media the
// test knows.
#include <gst/video/video.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "capture/zorvex.h"
#include "platform/cvpixelbuffer.h"
#include "tests/support/allocations.h"
#include "tests/support/testsource.h"

namespace {

using namespace std::chrono_literals;

/// What a callback has seen; the test waits on it.
struct Seen {
  std::mutex mutex;
  std::condition_variable changed;
  int frames = 0;
  unsigned int pixelFormat = 0;
  unsigned long width = 0, height = 0, bytesPerRow = 0;
  const unsigned char* pixels[64] = {};
  long allocationsAt[64] = {};
  unsigned long handle = 0;
  std::string movie;
  std::atomic<bool> isInside = false;

  static void OnFrame(unsigned char const* pixels, unsigned int pixelFormat, unsigned long width,
                      unsigned long height, unsigned long bytesPerRow, SMPTETime const*,
                      long data) {
    auto& seen = *reinterpret_cast<Seen*>(data);
    const std::lock_guard lock(seen.mutex);
    if (seen.frames < 64) {
      seen.pixels[seen.frames] = pixels;
      seen.allocationsAt[seen.frames] = AllocationsOfThisThread();
    }
    ++seen.frames;
    seen.pixelFormat = pixelFormat;
    seen.width = width;
    seen.height = height;
    seen.bytesPerRow = bytesPerRow;
    seen.changed.notify_all();
  }
  bool WaitForFrames(int count) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, 20s, [&] { return frames >= count; });
  }
  long Data() { return reinterpret_cast<long>(this); }
};

bool Start(unsigned long handle, ZRVXVideoCallBack callBack, long data, unsigned int format = 0,
           unsigned long width = 0, unsigned long height = 0, const char* movie = nullptr) {
  return ZRVXDeviceStartCapture(handle, callBack, data, format, width, height, nullptr, 0, 0, 0, 0,
                                0, movie);
}

unsigned long OpenTestSource() {
  const unsigned long handle = ZRVXDeviceGet("test source", ZRVXDeviceMediaTypeVideo);
  EXPECT_TRUE(ZRVXDeviceOpen(handle));
  return handle;
}

void StopAndRelease(unsigned long handle) {
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
  EXPECT_TRUE(ZRVXDeviceClose(handle));
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

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
  const unsigned long handle = OpenTestSource();
  Seen seen;
  ASSERT_TRUE(Start(handle, Seen::OnFrame, seen.Data()));
  ASSERT_TRUE(seen.WaitForFrames(64));
  StopAndRelease(handle);

  EXPECT_EQ(FourCharCode("2vuy"), seen.pixelFormat);
  EXPECT_EQ(320u, seen.width);
  EXPECT_EQ(240u, seen.height);
  EXPECT_EQ(640u, seen.bytesPerRow);
  const std::set<const void*> memory = source->Memory();
  for (const unsigned char* pixels : seen.pixels)
    EXPECT_TRUE(memory.contains(pixels));
  EXPECT_EQ(seen.allocationsAt[32], seen.allocationsAt[63]);
}

struct Conversion {
  const char* native;
  unsigned int format;
  unsigned long width, height;
  unsigned int expectedFormat;
  unsigned long expectedWidth, expectedHeight;
};

TEST(Session, ConvertsToWhatIsAskedFor) {
  constexpr const char* kWide = "video/x-raw,format=YUY2,width=640,height=360,framerate=30/1";
  constexpr const char* kBayerLike = "video/x-raw,format=YVYU,width=320,height=240,framerate=30/1";
  const Conversion table[] = {
      {kUyvy, FourCharCode("BGRA"), 0, 0, FourCharCode("BGRA"), 320, 240},
      {kUyvy, FourCharCode("2vuy"), 320, 240, FourCharCode("2vuy"), 320, 240},
      {kUyvy, FourCharCode("y420"), 0, 0, FourCharCode("y420"), 320, 240},
      {kUyvy, FourCharCode("420v"), 0, 0, FourCharCode("420v"), 320, 240},
      {kUyvy, FourCharCode("420f"), 0, 0, FourCharCode("420f"), 320, 240},
      {kUyvy, 24, 0, 0, 24, 320, 240},
      {kUyvy, 32, 160, 120, 32, 160, 120},
      {kUyvy, 0, 100, 100, FourCharCode("2vuy"), 100, 100},
      // One side alone: the other follows, the picture is not distorted.
      {kWide, 0, 320, 0, FourCharCode("yuvs"), 320, 180},
      {kWide, 0, 0, 720, FourCharCode("yuvs"), 1280, 720},
      // A native format without a code comes as one that has a code.
      {kBayerLike, 0, 0, 0, FourCharCode("2vuy"), 320, 240},
  };
  for (const Conversion& row : table) {
    SCOPED_TRACE(testing::Message()
                 << row.native << " as " << row.format << " " << row.width << "x" << row.height);
    const TestSourcePlatform platform({MakeRetained<TestSourceDevice>("videotestsrc", row.native)});
    const unsigned long handle = OpenTestSource();
    Seen seen;
    ASSERT_TRUE(Start(handle, Seen::OnFrame, seen.Data(), row.format, row.width, row.height));
    EXPECT_TRUE(seen.WaitForFrames(2));
    StopAndRelease(handle);
    EXPECT_EQ(row.expectedFormat, seen.pixelFormat);
    EXPECT_EQ(row.expectedWidth, seen.width);
    EXPECT_EQ(row.expectedHeight, seen.height);
  }
}

TEST(Session, DecodesCompressedPictures) {
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>(
      "videotestsrc ! video/x-raw,width=320,height=240,framerate=30/1 ! jpegenc",
      "image/jpeg,width=320,height=240,framerate=30/1")});
  const unsigned long handle = OpenTestSource();
  Seen seen;
  ASSERT_TRUE(Start(handle, Seen::OnFrame, seen.Data(), FourCharCode("BGRA"), 160, 120));
  EXPECT_TRUE(seen.WaitForFrames(3));
  StopAndRelease(handle);
  EXPECT_EQ(FourCharCode("BGRA"), seen.pixelFormat);
  EXPECT_EQ(160u, seen.width);
}

TEST(Session, RefusesPicturesThatCannotBeMade) {
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>("videotestsrc", kUyvy)});
  const struct {
    unsigned int format;
    unsigned long width, height;
  } table[] = {{0xFFFFFFFFu, 0, 0}, {FourCharCode("zzzz"), 0, 0}, {0, 1ul << 40, 0}, {0, 0, ~0ul}};
  for (const auto& row : table) {
    const unsigned long handle = OpenTestSource();
    Seen seen;
    EXPECT_FALSE(Start(handle, Seen::OnFrame, seen.Data(), row.format, row.width, row.height));
    EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
    EXPECT_TRUE(Start(handle, Seen::OnFrame, seen.Data())) << "the wish is not kept";
    EXPECT_TRUE(seen.WaitForFrames(1));
    StopAndRelease(handle);
  }
}

TEST(Session, ADeviceThatWasClosedAtTheFirstStartJoinsTheNext) {
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>("videotestsrc", kUyvy)});
  const unsigned long handle = ZRVXDeviceGet("Test Source", ZRVXDeviceMediaTypeVideo);
  Seen seen;
  EXPECT_FALSE(Start(handle, Seen::OnFrame, seen.Data()));
  ASSERT_TRUE(ZRVXDeviceOpen(handle));
  EXPECT_TRUE(Start(handle, Seen::OnFrame, seen.Data()));
  EXPECT_TRUE(seen.WaitForFrames(1));
  StopAndRelease(handle);
}

TEST(Session, ASourceThatFailsDoesNotCapture) {
  // Caps that the source cannot do: the failure comes on the streaming thread.
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>(
      "videotestsrc", "audio/x-raw,format=S16LE,rate=48000,channels=2")});
  const unsigned long handle = OpenTestSource();
  Seen seen;
  EXPECT_TRUE(Start(handle, nullptr, 0));
  EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
  EXPECT_TRUE(ZRVXDeviceClose(handle));
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

void StopFromInside(unsigned char const*, unsigned int, unsigned long, unsigned long, unsigned long,
                    SMPTETime const*, long data) {
  auto& seen = *reinterpret_cast<Seen*>(data);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(ZRVXDeviceStopCapture(seen.handle));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms);
  const std::lock_guard lock(seen.mutex);
  ++seen.frames;
  seen.changed.notify_all();
}

TEST(Session, StopsFromInsideItsCallbackAndStartsAgain) {
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>("videotestsrc", kUyvy)});
  const unsigned long handle = OpenTestSource();
  for (int round = 0; round < 3; ++round) {
    Seen seen;
    seen.handle = handle;
    ASSERT_TRUE(Start(handle, StopFromInside, seen.Data()));
    ASSERT_TRUE(seen.WaitForFrames(1));
    while (ZRVXDeviceIsCapturing(handle))
      std::this_thread::yield();
    EXPECT_EQ(1, seen.frames);
  }
  StopAndRelease(handle);
}

void StopAndStartFromInside(unsigned char const*, unsigned int, unsigned long, unsigned long,
                            unsigned long, SMPTETime const*, long data) {
  auto& seen = *reinterpret_cast<Seen*>(data);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(ZRVXDeviceStopCapture(seen.handle));
  EXPECT_TRUE(Start(seen.handle, Seen::OnFrame, data));
  EXPECT_TRUE(ZRVXDeviceIsCapturing(seen.handle));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms);
}

TEST(Session, StopsAndStartsFromInsideItsCallback) {
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>("videotestsrc", kUyvy)});
  const unsigned long handle = OpenTestSource();
  Seen seen;
  seen.handle = handle;
  ASSERT_TRUE(Start(handle, StopAndStartFromInside, seen.Data()));
  EXPECT_TRUE(seen.WaitForFrames(5));
  StopAndRelease(handle);
}

/// Adds a recording to its own capture, which makes the session change its run, and takes its time.
void AddMovieFromInside(unsigned char const*, unsigned int, unsigned long, unsigned long,
                        unsigned long, SMPTETime const*, long data) {
  auto& seen = *reinterpret_cast<Seen*>(data);
  Start(seen.handle, nullptr, 0, 0, 0, 0, seen.movie.c_str());
  seen.isInside = true;
  std::this_thread::sleep_for(300ms);
  seen.isInside = false;
}

TEST(Session, AStopWaitsForTheCallbackAlsoWhileTheSessionChanges) {
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>("videotestsrc", kUyvy)});
  const unsigned long handle = OpenTestSource();
  Seen seen;
  seen.handle = handle;
  seen.movie = testing::TempDir() + "zorvex-session-test-" + std::to_string(getpid()) + ".mov";
  ASSERT_TRUE(Start(handle, AddMovieFromInside, seen.Data()));
  while (!seen.isInside)
    std::this_thread::yield();
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  EXPECT_FALSE(seen.isInside);
  StopAndRelease(handle);
  unlink(seen.movie.c_str());
}

TEST(Session, ClosingADeviceEndsItsFrames) {
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>("videotestsrc", kUyvy)});
  const unsigned long handle = OpenTestSource();
  Seen seen;
  ASSERT_TRUE(Start(handle, Seen::OnFrame, seen.Data()));
  ASSERT_TRUE(seen.WaitForFrames(1));
  EXPECT_TRUE(ZRVXDeviceClose(handle));
  const int frames = seen.frames;  // no frame is under way any more
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  EXPECT_TRUE(ZRVXDeviceIsCapturing(handle)) << "stopping a closed device changes nothing";
  ASSERT_TRUE(ZRVXDeviceOpen(handle));
  StopAndRelease(handle);
  EXPECT_EQ(frames, seen.frames);
}

TEST(Session, AddsAndDropsCallbacksWhileItRuns) {
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>("videotestsrc", kUyvy)});
  const unsigned long handle = OpenTestSource();
  Seen first, second;
  ASSERT_TRUE(Start(handle, nullptr, 0));
  EXPECT_TRUE(ZRVXDeviceIsCapturing(handle));
  ASSERT_TRUE(Start(handle, Seen::OnFrame, first.Data()));
  EXPECT_TRUE(first.WaitForFrames(2));
  ASSERT_TRUE(ZRVXDeviceStopRecording(handle));
  ASSERT_TRUE(Start(handle, Seen::OnFrame, second.Data()));
  EXPECT_TRUE(second.WaitForFrames(2));
  StopAndRelease(handle);
}

}  // namespace
