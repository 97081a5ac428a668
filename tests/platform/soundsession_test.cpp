// SPDX-License-Identifier: MIT
//
// Sound in sessions, driven through the exported functions on sources whose media the test knows.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <string>
#include <thread>

#include "platform/gstreamer/soundchunker.h"
#include "tests/support/framecounter.h"
#include "tests/support/soundcollector.h"
#include "tests/support/testsource.h"
#include "tests/support/tone.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

const std::string kTone = "audiotestsrc is-live=true freq=997 volume=0.5 samplesperbuffer=441";
const std::string kEnd = " ! identity silent=true";
const std::string kPictures =
    "videotestsrc is-live=true pattern=black ! "
    "video/x-raw,format=UYVY,width=64,height=48,framerate=30/1" +
    kEnd;
const std::string kSound = kTone + " ! audio/x-raw,format=S16LE,rate=48000,channels=2" + kEnd;

Retained<QTCaptureDevice> Microphone(const std::string& source, const std::string& caps = {}) {
  return MakeRetained<TestSourceDevice>(source, caps, QTMediaType::QTMediaTypeSound, "Mic");
}
Retained<QTCaptureDevice> Camera() {
  return MakeRetained<TestSourceDevice>(kPictures, "");
}

struct Wish {
  unsigned int flags = 0;
  unsigned long rate = 0, channels = 0, bytes = 0;
};

/// Pictures and sound from one device, or from two.
std::vector<Retained<QTCaptureDevice>> Devices(bool isMuxed) {
  if (isMuxed) return {TestSourceDevice::Muxed(kPictures, kSound)};
  return {Camera(), Microphone(kSound)};
}

/// A host with both callbacks.
struct Host {
  explicit Host(const char* name, ZRVXDeviceMediaType type = ZRVXDeviceMediaTypeVideo)
      : handle(ZRVXDeviceGet(name, type)) {
    EXPECT_TRUE(ZRVXDeviceOpen(handle));
  }
  bool Start(const char* microphone = nullptr, const Wish& wish = {}, bool pictures = true) {
    const ZRVXVideoCallBack video = pictures ? FrameCounter::OnFrame : nullptr;
    const long data = reinterpret_cast<long>(&frames);
    return microphone ? ZRVXDeviceStartCaptureWithAudioDevice(
                            handle, microphone, video, data, 0, 0, 0, SoundCollector::OnSound,
                            sound.Data(), wish.flags, wish.rate, wish.channels, wish.bytes, nullptr)
                      : ZRVXDeviceStartCapture(handle, video, data, 0, 0, 0,
                                               SoundCollector::OnSound, sound.Data(), wish.flags,
                                               wish.rate, wish.channels, wish.bytes, nullptr);
  }
  void Stop() { StopAndRelease(handle); }

  const unsigned long handle;
  FrameCounter frames;
  SoundCollector sound;
};

TEST(SoundSession, GivesEverySourceInTheFormatAskedFor) {
  constexpr const char* kFour = "format=S24LE,rate=192000,channels=4,channel-mask=(bitmask)0";
  constexpr const char* kPlanar = "format=S32LE,rate=11025,channels=2,layout=non-interleaved";
  const struct {
    const char* caps;
    Wish wish;
    unsigned int flags;
    unsigned long rate, channels, bytes, buffersPerSecond;
  } table[] = {
      {"format=S16LE,rate=48000,channels=2", {}, 12, 44100, 2, 2, 25},
      {"format=S16LE,rate=44100,channels=1", {}, 12, 44100, 2, 2, 25},
      {"format=F32LE,rate=96000,channels=2", {9, 48000, 1, 4}, 9, 48000, 1, 4, 25},
      {"format=S24_32BE,rate=32000,channels=1", {12, 8000, 1, 2}, 12, 8000, 1, 2, 25},
      {kFour, {12, 48000, 4, 2}, 12, 48000, 4, 2, 50},
      {kPlanar, {9, 22050, 2, 4}, 9, 22050, 2, 4, 25},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(row.caps);
    const TestSourcePlatform platform({Microphone(kTone + " ! audio/x-raw," + row.caps + kEnd)});
    Host host("Mic", ZRVXDeviceMediaTypeAudio);
    ASSERT_TRUE(host.Start(nullptr, row.wish, false));
    EXPECT_TRUE(host.sound.WaitForSeconds(1));
    host.Stop();
    EXPECT_EQ(host.sound.formatFlags, row.flags);
    EXPECT_EQ(host.sound.rate, row.rate);
    EXPECT_EQ(host.sound.channels, row.channels);
    EXPECT_EQ(host.sound.bytesPerSample, row.bytes);
    const auto rate = static_cast<double>(row.rate);
    EXPECT_NEAR(FrequencyOf(host.sound.samples, 997, rate), 997, 0.2);
    EXPECT_NEAR(LevelOf(host.sound.samples, 997, rate), -6.02, 0.2);
    for (const unsigned long frames : host.sound.framesOfBuffers)
      ASSERT_EQ(frames * row.buffersPerSecond, row.rate);
  }
}

TEST(SoundSession, BuffersHaveAWholeNumberOfFrames) {
  EXPECT_EQ(gstreamer::FramesPerChunk(11025, 2), 441u);
  EXPECT_EQ(gstreamer::FramesPerChunk(192000, 8), 1920u);
  EXPECT_EQ(gstreamer::FramesPerChunk(1, 1), 1u);
  EXPECT_EQ(gstreamer::FramesPerChunk(0, 0), 1u);
}

/// Both ways that sound comes beside pictures: one callback does not cost the other anything.
TEST(SoundSession, ASlowCallbackCostsTheOtherStreamNothing) {
  for (const bool isMuxed : {false, true}) {
    for (const bool areFramesSlow : {false, true}) {
      SCOPED_TRACE(testing::Message() << (isMuxed ? "muxed, " : "microphone, ")
                                      << (areFramesSlow ? "slow frames" : "slow sound"));
      const TestSourcePlatform platform(Devices(isMuxed));
      Host host("Test Source");
      const auto wait = [](auto...) { std::this_thread::sleep_for(300ms); };
      if (areFramesSlow) host.frames.inCallBack = wait;
      if (!areFramesSlow) host.sound.inCallBack = wait;
      const auto begin = steady_clock::now();
      ASSERT_TRUE(host.Start(isMuxed ? nullptr : "Mic"));
      if (areFramesSlow) {
        EXPECT_TRUE(host.sound.WaitForSeconds(1.5));
        EXPECT_LE(host.frames.Frames(), 8);
        EXPECT_NEAR(FrequencyOf(host.sound.Samples(), 997, 44100), 997, 0.2);
      } else {
        EXPECT_TRUE(host.frames.WaitForFrames(40));
      }
      EXPECT_LT(steady_clock::now() - begin, 4s);
      host.Stop();
    }
  }
}

TEST(SoundSession, KeepsTheFormatThatItBeganWith) {
  // Half a second of 48000 stereo, then 44100 mono.
  const TestSourcePlatform platform({Microphone(
      "concat name=all audiotestsrc is-live=true num-buffers=50 samplesperbuffer=480 freq=997 "
      "volume=0.5 ! audio/x-raw,format=S16LE,rate=48000,channels=2 ! all. "
      "audiotestsrc is-live=true freq=997 volume=0.5 ! "
      "audio/x-raw,format=S16LE,rate=44100,channels=1 ! all. all." +
      kEnd)});
  Host host("Mic", ZRVXDeviceMediaTypeAudio);
  ASSERT_TRUE(host.Start(nullptr, {12, 48000, 2, 2}, false));
  EXPECT_TRUE(host.sound.WaitForSeconds(1.5));
  host.Stop();
  const std::vector<float> heard = host.sound.Samples();
  ASSERT_GE(heard.size(), 72000u);
  EXPECT_NEAR(FrequencyOf(std::span(heard).subspan(36000, 36000), 997, 48000), 997, 0.2);
}

TEST(SoundSession, AMicrophoneThatFailsLeavesThePicturesAlone) {
  const struct {
    const char* what;
    std::string source;
    bool isHeard;
  } table[] = {
      {"does not start", kTone + " ! identity error-after=1", false},
      {"ends", kTone + " num-buffers=100" + kEnd, true},
      {"fails", kTone + " ! audio/x-raw,rate=48000 ! identity error-after=100", true},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(row.what);
    const TestSourcePlatform platform({Camera(), Microphone(row.source)});
    Host host("Test Source");
    ASSERT_TRUE(host.Start("Mic"));
    EXPECT_TRUE(host.frames.WaitForFrames(60));
    EXPECT_TRUE(ZRVXDeviceIsCapturing(host.handle));
    host.Stop();
    EXPECT_EQ(host.sound.buffers > 0, row.isHeard);
  }
}

TEST(SoundSession, AloneItRunsOnlyWithItsMicrophone) {
  const TestSourcePlatform platform({Microphone("audiotestsrc ! nothing")});
  Host host("Mic", ZRVXDeviceMediaTypeAudio);
  EXPECT_TRUE(host.Start(nullptr, {}, false));
  EXPECT_FALSE(ZRVXDeviceIsCapturing(host.handle));
  EXPECT_TRUE(ZRVXDeviceClose(host.handle) && ZRVXDeviceRelease(host.handle));
}

/// A stop from one callback waits for the other one; two stops do not wait for each other.
TEST(SoundSession, StopsFromInsideEitherCallback) {
  for (const bool isMuxed : {false, true}) {
    for (const bool fromBoth : {false, true}) {
      SCOPED_TRACE(testing::Message() << isMuxed << fromBoth);
      const TestSourcePlatform platform(Devices(isMuxed));
      Host host("Test Source");
      std::atomic<bool> isInFrame = false, isStopped = false, wasRight = true;
      std::atomic<int> entered = 0;
      host.frames.inCallBack = [&](auto*) {
        if (isStopped) wasRight = false;
        ++entered;
        isInFrame = true;
        std::this_thread::sleep_for(300ms);
        if (fromBoth) ZRVXDeviceStopCapture(host.handle);
        isInFrame = false;
      };
      steady_clock::duration took{};
      host.sound.inCallBack = [&] {
        if (!isInFrame || isStopped) return;
        const auto begin = steady_clock::now();
        ZRVXDeviceStopCapture(host.handle);
        took = steady_clock::now() - begin;
        if (isInFrame && !fromBoth) wasRight = false;
        isStopped = true;
      };
      ASSERT_TRUE(host.Start(isMuxed ? nullptr : "Mic"));
      for (int i = 0; i < 1000 && !isStopped; ++i)
        std::this_thread::sleep_for(10ms);
      EXPECT_TRUE(isStopped);
      EXPECT_LT(took, 2s);
      std::this_thread::sleep_for(100ms);
      EXPECT_TRUE(host.frames.WaitForFrames(entered));
      EXPECT_TRUE(wasRight);
      host.Stop();
    }
  }
}

TEST(SoundSession, TheMicrophoneJoinsARunningCapture) {
  const TestSourcePlatform platform({Camera(), Microphone(kSound)});
  Host host("Test Source");
  ASSERT_TRUE(Start(host.handle, host.frames));
  EXPECT_TRUE(host.frames.WaitForFrames(5));
  ASSERT_TRUE(host.Start("Mic"));
  EXPECT_TRUE(host.sound.WaitForSeconds(0.5));
  EXPECT_TRUE(ZRVXDeviceCloseAudioDevice(host.handle));
  EXPECT_FALSE(ZRVXDeviceIsCapturing(host.handle));
  // Again, with the pictures.
  const std::size_t before = host.sound.Samples().size();
  ASSERT_TRUE(host.Start("Mic"));
  const int frames = host.frames.Frames();
  EXPECT_TRUE(host.frames.WaitForFrames(frames + 5));
  EXPECT_TRUE(host.sound.WaitForSeconds(static_cast<double>(before) / 44100 + 0.3));
  host.Stop();
}

}  // namespace
