// SPDX-License-Identifier: MIT
#include <cstring>
#include <future>
#include <latch>
#include <stdexcept>
#include <thread>

#include "tests/capture/capturefixture.h"

using testing::HasSubstr;
using testing::Not;

namespace {

constexpr SMPTETime OneHour{3, 80, 90000, kSMPTETimeType25, kSMPTETimeValid, 1, 2, 3, 4};

/// What the callbacks below do beside counting; set while no frame is under way.
std::function<void(const unsigned char*, const SMPTETime*, long)> inCallBack;
std::atomic<int> firstCalls, secondCalls;

template <std::atomic<int>& calls>
void CallBack(unsigned char const* pixels, unsigned int pixelFormat, unsigned long width,
              unsigned long height, unsigned long bytesPerRow, SMPTETime const* timeCode,
              long data) {
  ++calls;
  EXPECT_TRUE(pixelFormat == FourCharCode("2vuy") && width == 2 && height == 1 && bytesPerRow == 4);
  if (inCallBack) inCallBack(pixels, timeCode, data);
}
constexpr ZRVXVideoCallBack First = CallBack<firstCalls>;
constexpr ZRVXVideoCallBack Second = CallBack<secondCalls>;

template <std::atomic<int>& calls>
void Hear(unsigned char const* samples, unsigned int, unsigned long, unsigned long, unsigned long,
          unsigned long, long data) {
  ++calls;
  if (inCallBack) inCallBack(samples, nullptr, data);
}
constexpr ZRVXAudioCallBack FirstSound = Hear<firstCalls>;
constexpr ZRVXAudioCallBack SecondSound = Hear<secondCalls>;

class CaptureTest : public CaptureFixture {
 protected:
  CaptureTest() { firstCalls = secondCalls = 0; }
  void TearDown() override {
    inCallBack = nullptr;
    EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
    EXPECT_TRUE(ZRVXDeviceRelease(handle));
    CaptureFixture::TearDown();
  }
  /// Throws away the log of the start.
  void StartFirst(const StartArguments& arguments = {.callBack = First}) {
    EXPECT_TRUE(Start(handle, arguments));
    platform.TakeLog();
  }

  /// A capture of pictures or of sound, what comes of it, and its invalidation.
  void StartOf(bool sound, long data) {
    StartFirst({.callBack = sound ? nullptr : First,
                .data = data,
                .audioCallBack = sound ? FirstSound : nullptr,
                .audioData = data});
  }
  bool DeliverOf(bool sound) { return sound ? DeliverSound() : platform.Deliver(); }
  /// The callback is told by its number; 0 for none.
  bool Invalidate(bool sound, int callBack, long data) {
    constexpr ZRVXVideoCallBack pictures[] = {nullptr, First, Second};
    constexpr ZRVXAudioCallBack sounds[] = {nullptr, FirstSound, SecondSound};
    return sound ? ZRVXDeviceInvalidateCaptureAudioCallBack(handle, sounds[callBack], data)
                 : ZRVXDeviceInvalidateCaptureVideoCallBack(handle, pictures[callBack], data);
  }

  const unsigned long handle = OpenCamera();
};

TEST_F(CaptureTest, StartAndStopCallThePlatformInOrder) {
  const std::string video = "newVideo setDelegate:some ";
  const std::string audio = "newAudio setSound:some addOutput:audio ";
  const std::string movie = "newMovie record:m.mov addOutput:movie ";
  const std::string noVideo = "removeOutput:video ~video ";
  const std::string noAudio = "removeOutput:audio ~audio ";
  const std::string noMovie = "removeOutput:movie ~movie ";
  const struct {
    StartArguments arguments;
    std::string added, removed;
  } rows[] = {
      {{.data = 5, .pixelFormat = 1, .width = 2}, "", ""},
      {{.movieFile = "m.mov"}, movie, noMovie},
      {{.callBack = First}, video + "addOutput:video ", noVideo},
      {{.callBack = First, .pixelFormat = 32},
       video + "setAttributes:32,-,- addOutput:video ",
       noVideo},
      {{.callBack = First, .width = 640, .height = 480, .movieFile = "m.mov"},
       video + "setAttributes:-,640,480 addOutput:video " + movie,
       noVideo + noMovie},
      {{.audioCallBack = FirstSound}, audio, noAudio},
      {{.callBack = First, .movieFile = "m.mov", .audioCallBack = FirstSound},
       video + "addOutput:video " + audio + movie,
       noVideo + noAudio + noMovie},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(Start(handle, row.arguments));
    EXPECT_EQ(platform.TakeLog(), "newSession newInput addInput " + row.added + "startRunning");
    EXPECT_TRUE(ZRVXDeviceIsCapturing(handle));
    EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
    EXPECT_EQ(platform.TakeLog(), std::string(row.arguments.callBack ? "setDelegate:none " : "") +
                                      (row.arguments.audioCallBack ? "setSound:none " : "") +
                                      "stopRunning removeInput ~input " + row.removed + "~session");
    EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
    EXPECT_TRUE(ZRVXDeviceStopCapture(handle) && ZRVXDeviceStopRecording(handle));
    EXPECT_EQ(platform.TakeLog(), "");
  }
}

TEST_F(CaptureTest, ASecondStartKeepsTheFirstCallBackAndAddsWhatIsNew) {
  StartFirst({.callBack = First, .data = 1, .audioCallBack = FirstSound, .audioData = 1});
  inCallBack = [&](auto*, auto*, long data) { EXPECT_EQ(data, 1); };
  EXPECT_TRUE(Start(handle, {.callBack = Second,
                             .data = 2,
                             .width = 320,
                             .movieFile = "m.mov",
                             .audioCallBack = SecondSound,
                             .audioData = 2}));
  EXPECT_EQ(platform.TakeLog(),
            "setDelegate:some setAttributes:-,320,- addOutput:video setSound:some addOutput:audio "
            "newMovie record:m.mov addOutput:movie");
  EXPECT_TRUE(platform.Deliver() && DeliverSound());
  EXPECT_TRUE(firstCalls == 2 && secondCalls == 0);
}

TEST_F(CaptureTest, StopRecordingEndsTheDeliveryAndANewStartResumesIt) {
  StartFirst({.callBack = First, .movieFile = "m.mov", .audioCallBack = FirstSound});
  EXPECT_TRUE(ZRVXDeviceStopRecording(handle));
  EXPECT_EQ(platform.TakeLog(), "setDelegate:none setSound:none removeOutput:movie ~movie");
  EXPECT_TRUE(ZRVXDeviceIsCapturing(handle));
  for (const bool sound : {false, true})
    EXPECT_FALSE(DeliverOf(sound) || Invalidate(sound, 1, 0));
  EXPECT_TRUE(
      Start(handle, {.callBack = Second, .movieFile = "n.mov", .audioCallBack = SecondSound}));
  EXPECT_EQ(platform.TakeLog(),
            "setDelegate:some addOutput:video setSound:some addOutput:audio newMovie record:n.mov "
            "addOutput:movie");
  EXPECT_TRUE(platform.Deliver() && DeliverSound());
  EXPECT_TRUE(firstCalls == 0 && secondCalls == 2);
}

// A failure and an exception of each step: what is left serves the next start, unless the session
// ran before; then nothing is left.
TEST_F(CaptureTest, FailuresAtEachStep) {
  const std::string video = "setDelegate:some setAttributes:-,640,- addOutput:video ";
  const std::string movie = "newMovie record:m.mov addOutput:movie ";
  const struct {
    const char* call;
    bool fails;  // else throws
    std::string next;
  } rows[] = {
      {"addInput", true, "newVideo " + video + movie + "startRunning"},
      {"addOutput:video", true, video + movie + "startRunning"},
      {"addOutput:movie", true, video + "startRunning"},
      {"newSession", false,
       "newSession newInput addInput newVideo " + video + movie + "startRunning"},
      {"setAttributes:-,640,-", false, video + movie + "startRunning"},
      {"newMovie", false, video + movie + "startRunning"},
      {"record:m.mov", false, video + movie + "startRunning"},
      {"addOutput:movie", false, video + movie + "startRunning"},
      {"startRunning", false, video + "startRunning"},
  };
  const StartArguments arguments{.callBack = First, .width = 640, .movieFile = "m.mov"};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.call << (row.fails ? " fails" : " throws"));
    platform.On(row.call, [&]() -> bool { return row.fails ? false : throw std::bad_alloc(); });
    EXPECT_FALSE(Start(handle, arguments) || ZRVXDeviceIsCapturing(handle));
    platform.TakeLog();
    EXPECT_TRUE(ZRVXDeviceStopCapture(handle) && ZRVXDeviceStopRecording(handle));
    EXPECT_EQ(platform.TakeLog(), "");
    EXPECT_TRUE(Start(handle, arguments));
    EXPECT_THAT(platform.TakeLog(), testing::EndsWith(row.next));
    EXPECT_TRUE(platform.Deliver());
    EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
    EXPECT_THAT(platform.TakeLog(), Not(HasSubstr("not there")));
    EXPECT_EQ(platform.liveObjects, 0);
  }
  StartFirst();
  platform.On("addOutput:movie", [] { return false; });
  EXPECT_FALSE(Start(handle, arguments) || ZRVXDeviceIsCapturing(handle));
  EXPECT_EQ(platform.liveObjects, 0);
  platform.On("startRunning", [] { return false; });
  EXPECT_TRUE(Start(handle));  // set up; whether it runs is another question
  EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
}

TEST_F(CaptureTest, FramesAreHandedOverLockedAndUncopiedWithTheirTimeCode) {
  std::optional<SMPTETime> current;
  const auto expectTime = [&] {
    SMPTETime time = {};
    EXPECT_EQ(ZRVXDeviceGetSMPTETime(handle, &time), current.has_value());
    EXPECT_EQ(ZRVXDeviceGetSMPTETime(handle, nullptr), current.has_value());
    const SMPTETime expected = current.value_or(SMPTETime{});
    EXPECT_EQ(std::memcmp(&time, &expected, sizeof time), 0);
  };
  inCallBack = [&](const unsigned char* pixels, const SMPTETime* timeCode, long data) {
    platform.Call("callback");
    EXPECT_TRUE(pixels == ScriptedFrame::pixels && data == -7);
    EXPECT_EQ(timeCode != nullptr, current.has_value());
    expectTime();
    throw std::runtime_error("host");
  };
  StartFirst({.callBack = First, .data = -7});
  for (const bool hasTime : {false, true, false, true}) {
    current = hasTime ? std::optional(OneHour) : std::nullopt;
    EXPECT_TRUE(platform.Deliver(current));
    EXPECT_EQ(platform.TakeLog(), "lock callback unlock exception");
    std::jthread other(expectTime);  // would hang if anything stayed locked
  }
  current.reset();
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  expectTime();
}

TEST_F(CaptureTest, InvalidatingComparesCallBackAndDataOnTheirOwn) {
  const struct {
    int callBack;
    long data;
    bool expected;
    int calls;     // of one frame afterwards
    long newData;  // what the callback gets, or what is left to match
  } rows[] = {{1, 7, true, 0, 0},  {1, 8, true, 0, 7}, {2, 7, true, 1, 0},
              {2, 8, false, 1, 7}, {0, 7, true, 1, 0}, {0, 0, false, 1, 7}};
  for (const bool sound : {false, true}) {
    EXPECT_FALSE(Invalidate(sound, 1, 7));
    for (const auto& row : rows) {
      SCOPED_TRACE(&row - rows);
      firstCalls = 0;
      inCallBack = [&](auto*, auto*, long data) { EXPECT_EQ(data, row.newData); };
      StartOf(sound, 7);
      EXPECT_EQ(Invalidate(sound, row.callBack, row.data), row.expected);
      EXPECT_TRUE(DeliverOf(sound));
      EXPECT_EQ(firstCalls, row.calls);
      EXPECT_EQ(platform.TakeLog().empty(), row.calls == 0);  // else not even locked
      EXPECT_TRUE(Invalidate(sound, 2, row.newData));
      EXPECT_FALSE(Invalidate(!sound, 1, 7));
      EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
    }
  }
}

TEST_F(CaptureTest, InvalidatingWaitsForTheFrameInFlight) {
  for (const bool sound : {false, true}) {
    StartOf(sound, 0);
    firstCalls = 0;
    std::latch entered(1), leave(1);
    int written = 0;  // unguarded on purpose: the invalidation orders the accesses
    inCallBack = [&](auto...) {
      entered.count_down();
      leave.wait();
      written = 1;
    };
    std::jthread platformThread([&] { DeliverOf(sound); });
    entered.wait();
    auto invalidated = std::async(std::launch::async, [&] {
      EXPECT_TRUE(Invalidate(sound, 1, 1));
      return written;
    });
    EXPECT_EQ(invalidated.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    leave.count_down();
    EXPECT_EQ(invalidated.get(), 1);
    EXPECT_TRUE(DeliverOf(sound));
    EXPECT_EQ(firstCalls, 1);
    EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  }
}

TEST_F(CaptureTest, ACallBackMayInvalidateStopAndRelease) {
  ZRVXDeviceRetain(handle);
  StartFirst({.callBack = First, .movieFile = "m.mov"});
  inCallBack = [&](auto...) {
    EXPECT_TRUE(ZRVXDeviceInvalidateCaptureVideoCallBack(handle, First, 1));
    EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
    EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
    EXPECT_TRUE(ZRVXDeviceRelease(handle));
  };
  EXPECT_TRUE(platform.Deliver());
  EXPECT_FALSE(platform.Deliver());
}

TEST_F(CaptureTest, FramesAndQuestionsMayOverlapStops) {
  const std::jthread frames([&](std::stop_token stop) {
    while (!stop.stop_requested())
      platform.Deliver(OneHour);
  });
  const std::jthread questions([&](std::stop_token stop) {
    while (!stop.stop_requested()) {
      SMPTETime time;
      EXPECT_TRUE(!ZRVXDeviceGetSMPTETime(handle, &time) || time.mFrames == OneHour.mFrames);
      ZRVXDeviceIsCapturing(handle);
      ZRVXDeviceInvalidateCaptureVideoCallBack(handle, Second, 1);
    }
  });
  for (int round = 0; round < 300; ++round) {
    StartFirst({.callBack = First, .movieFile = "m.mov"});
    {
      const std::jthread other(ZRVXDeviceStopCapture, handle);
      EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
    }
    ASSERT_FALSE(ZRVXDeviceIsCapturing(handle));
    ASSERT_THAT(platform.TakeLog(), Not(HasSubstr("not there")));
  }
}

/// A stop whose last step meets the next start takes that start's session away. Its callback is
/// then gone for the host, and no later capture may call it.
TEST_F(CaptureTest, AStopThatOverlapsAStartLeavesNoCallbackBehind) {
  StartFirst({.callBack = First, .movieFile = "m.mov"});
  platform.On("removeOutput:movie", [&] { return Start(handle, {.callBack = First}); });
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
  ASSERT_FALSE(ZRVXDeviceIsCapturing(handle));
  ASSERT_TRUE(Start(handle, {.callBack = Second}));
  firstCalls = secondCalls = 0;
  EXPECT_TRUE(platform.Deliver());
  EXPECT_EQ(firstCalls, 0);
  EXPECT_EQ(secondCalls, 1);
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle));
}

}  // namespace
