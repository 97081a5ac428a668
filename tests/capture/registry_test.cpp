// SPDX-License-Identifier: MIT
#include <array>
#include <stdexcept>
#include <thread>

#include "tests/capture/capturefixture.h"

using testing::Contains;
using testing::ElementsAre;

namespace {

constexpr auto Video = QTMediaType::QTMediaTypeVideo;
constexpr auto Sound = QTMediaType::QTMediaTypeSound;
constexpr auto Muxed = QTMediaType::QTMediaTypeMuxed;
constexpr auto Any = ZRVXDeviceMediaTypeAny;
constexpr auto TypeAudio = ZRVXDeviceMediaTypeAudio;
constexpr auto TypeVideo = ZRVXDeviceMediaTypeVideo;
constexpr auto TypeMuxed = ZRVXDeviceMediaTypeMuxed;
constexpr auto Seven = static_cast<ZRVXDeviceMediaType>(7);
constexpr ZRVXVideoCallBack Ignore = [](auto...) {};

std::vector<std::string> Enumerated(ZRVXDeviceMediaType mediaType, unsigned int flags,
                                    std::size_t limit = 100) {
  struct Names final : IZRVXDeviceEnumerator {
    bool OnDevice(char const* name) override {
      names.emplace_back(name);
      return names.size() < limit;
    }
    std::vector<std::string> names;
    std::size_t limit;
  } names;
  names.limit = limit;
  ZRVXDeviceEnumerate(&names, mediaType, flags);
  return names.names;
}

/// How many of the functions that take a handle act on it.
int Accepted(unsigned long handle) {
  int accepted = ZRVXDeviceHasMediaType(handle, Any) + (ZRVXDevice::GetQTDevice(handle) != nullptr);
  for (bool (*function)(unsigned long) :
       {ZRVXDeviceRetain, ZRVXDeviceClose, ZRVXDeviceOpen, ZRVXDeviceIsOpened,
        ZRVXDeviceIsConnected, ZRVXDeviceStopRecording, ZRVXDeviceStopCapture, ZRVXDeviceRelease}) {
    accepted += function(handle);
  }
  return accepted;
}

class RegistryTest : public CaptureFixture {};

TEST_F(RegistryTest, HandleIsTheAddressOfOneOf64Slots) {
  constexpr auto size = sizeof(ZRVXDevice);
  std::vector<unsigned long> handles;
  for (unsigned long i = 0; i < 65; ++i) {
    platform.AddDevice("Camera " + std::to_string(i));
    handles.push_back(ZRVXDeviceGet(("Camera " + std::to_string(i)).c_str(), TypeVideo));
    EXPECT_EQ(handles[i], i < 64 ? handles[0] + i * size : 0);
    EXPECT_EQ(Accepted(handles[i]), i < 64 ? 10 : 0);
  }
  handles.pop_back();
  for (const unsigned long handle :
       {1ul, ~0ul, handles[0] - size, handles[0] - 1, handles[0] + 1, handles[0] + size / 2,
        handles[63] + 8, handles[63] + size /* the 65th */, handles[63] + 2 * size}) {
    EXPECT_EQ(Accepted(handle), 0) << handle - handles[0];
    EXPECT_FALSE(Start(handle) || ZRVXDeviceIsCapturing(handle));
    EXPECT_FALSE(ZRVXDeviceGetSMPTETime(handle, nullptr));
    EXPECT_FALSE(ZRVXDeviceInvalidateCaptureVideoCallBack(handle, nullptr, 0));
  }
  // The slot that becomes free is the next one to be filled.
  EXPECT_TRUE(ZRVXDeviceRelease(handles[40]));
  EXPECT_EQ(Accepted(handles[40]), 0);
  EXPECT_EQ(ZRVXDeviceGet("Camera 64", TypeVideo), handles[40]);
  for (const unsigned long handle : handles)
    EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

TEST_F(RegistryTest, NamesMatchWithoutCaseAndAreCutTo259Bytes) {
  const std::string longest(259, 'x');
  platform.AddDevice("FaceCam", {Sound});
  ScriptedDevice* camera = platform.AddDevice("FACECAM");
  platform.AddDevice("FaceCam");
  platform.AddDevice(longest + "yz");
  const unsigned long handle = ZRVXDeviceGet("facecam", TypeVideo);
  EXPECT_EQ(ZRVXDevice::GetQTDevice(handle), camera);  // the first that has the media
  EXPECT_STREQ(reinterpret_cast<const char*>(handle), "facecam");
  EXPECT_EQ(ZRVXDeviceGet("FaceCam", Any), handle);
  for (const char* name : {"Face", "FaceCam ", "", static_cast<const char*>(nullptr)})
    EXPECT_EQ(ZRVXDeviceGet(name, TypeVideo), 0u);
  const unsigned long cut = ZRVXDeviceGet((longest + "yz").c_str(), TypeVideo);
  EXPECT_EQ(reinterpret_cast<const char*>(cut), longest);
  EXPECT_EQ(ZRVXDeviceGet(longest.c_str(), TypeVideo), cut);
  for (const unsigned long taken : {handle, cut, handle, cut})
    EXPECT_TRUE(ZRVXDumpUsedDevices() && ZRVXDeviceRelease(taken));
  EXPECT_FALSE(ZRVXDumpUsedDevices() || ZRVXDeviceRelease(handle));
}

TEST_F(RegistryTest, MediaTypes) {
  const struct {
    std::set<QTMediaType> media;
    bool isAudioSupported;
    std::array<bool, 5> expected;
  } rows[] = {
      {{Video}, true, {true, false, true, false, true}},
      {{Sound}, true, {true, true, false, false, false}},
      {{Muxed}, true, {true, true, true, true, true}},
      {{}, true, {false, false, false, false, false}},
      {{Sound}, false, {false, false, false, false, false}},
      {{Muxed}, false, {true, false, true, true, true}},
  };
  constexpr ZRVXDeviceMediaType types[] = {Any, TypeAudio, TypeVideo, TypeMuxed, Seven};
  for (const auto& row : rows) {
    const std::string name = "Device " + std::to_string(&row - rows);
    platform.AddDevice(name, row.media);
    ZRVXDevice::bIsAudioRecordingSupported = row.isAudioSupported;
    for (std::size_t i = 0; i < std::size(types); ++i) {
      SCOPED_TRACE(name + " as " + std::to_string(types[i]));
      const unsigned long handle = ZRVXDeviceGet(name.c_str(), types[i]);
      EXPECT_EQ(handle != 0, row.expected[i]);
      EXPECT_EQ(testing::Value(Enumerated(types[i], 0), Contains(name)), row.expected[i]);
      for (std::size_t j = 0; handle && j < std::size(types); ++j)
        EXPECT_EQ(ZRVXDeviceHasMediaType(handle, types[j]), row.expected[j]);
      ZRVXDeviceRelease(handle);
    }
  }
}

TEST_F(RegistryTest, EnumeratesInPlatformOrderUntilTheHostHasEnough) {
  platform.devices.emplace_back();  // an entry without a device
  platform.AddDevice("Zulu");
  platform.AddDevice("");
  platform.AddDevice("Mike", {Sound});
  platform.AddDevice("Unplugged")->connected = false;
  platform.AddDevice("Alpha", {Muxed});
  EXPECT_THAT(Enumerated(Any, ~1u), ElementsAre("Zulu", "Mike", "Alpha"));
  EXPECT_THAT(Enumerated(Any, 1), ElementsAre("Zulu", "Mike", "Unplugged", "Alpha"));
  EXPECT_THAT(Enumerated(Any, 0, 2), ElementsAre("Zulu", "Mike"));
}

TEST_F(RegistryTest, ExceptionsStayInside) {
  struct Thrower final : IZRVXDeviceEnumerator {
    bool OnDevice(char const*) override { throw std::runtime_error("host"); }
  } thrower;
  platform.AddDevice("Camera");
  EXPECT_NO_THROW(ZRVXDeviceEnumerate(&thrower, Any, 0));
  const auto fail = []() -> bool { throw std::bad_alloc(); };
  platform.On("inputDevices", fail);
  EXPECT_EQ(ZRVXDeviceGet("Camera", TypeVideo), 0u);
  const unsigned long handle = ZRVXDeviceGet("Camera", TypeVideo);  // the lock is free
  platform.On("open", fail);
  EXPECT_FALSE(ZRVXDeviceOpen(handle));
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

TEST_F(RegistryTest, ReleasesWhileCapturingAreLostAndTheLastEndsTheDelivery) {
  const unsigned long handle = OpenCamera();
  EXPECT_TRUE(ZRVXDeviceRetain(handle));
  ASSERT_TRUE(Start(handle, {.callBack = Ignore, .movieFile = "m.mov"}));
  platform.TakeLog();
  EXPECT_TRUE(ZRVXDeviceRelease(handle) && ZRVXDeviceRelease(handle));  // lost: it stays 2
  EXPECT_EQ(platform.TakeLog(), "");
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle) && ZRVXDeviceRelease(handle));  // now 1
  ASSERT_TRUE(Start(handle, {.callBack = Ignore, .movieFile = "m.mov"}));
  platform.TakeLog();
  EXPECT_TRUE(ZRVXDeviceRelease(handle) && ZRVXDeviceRelease(handle));
  EXPECT_EQ(platform.TakeLog(), "setDelegate:none removeOutput:movie ~movie setDelegate:none");
  EXPECT_TRUE(ZRVXDeviceIsCapturing(handle));
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle) && ZRVXDeviceRelease(handle));
  EXPECT_FALSE(ZRVXDeviceRelease(handle));
}

TEST_F(RegistryTest, AnEmptiedSlotKeepsOnlyTheMovieOutputOfAFailedStart) {
  unsigned long handle = OpenCamera();
  platform.On("addOutput:movie", [] { return false; });
  EXPECT_FALSE(Start(handle, {.callBack = Ignore, .movieFile = "first.mov"}));
  platform.TakeLog();
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
  EXPECT_EQ(platform.TakeLog(), "~session ~input ~video");
  handle = ZRVXDeviceGet("Camera", TypeVideo);
  platform.TakeLog();
  EXPECT_TRUE(Start(handle, {.movieFile = "second.mov"}));  // with a recording of its own
  EXPECT_EQ(platform.TakeLog(),
            "newSession ~movie newInput addInput newMovie record:second.mov addOutput:movie "
            "startRunning");
  EXPECT_TRUE(ZRVXDeviceStopCapture(handle) && ZRVXDeviceRelease(handle));
}

TEST_F(RegistryTest, RacingGetsAndReleasesCountRight) {
  platform.AddDevice("Camera");
  for (int round = 0; round < 200; ++round) {
    std::atomic<unsigned long> handle{0};
    std::atomic<int> released{0};
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
      threads.emplace_back([&] { handle = ZRVXDeviceGet("Camera", TypeVideo); });
    threads.clear();
    for (int t = 0; t < 6; ++t)
      threads.emplace_back([&] { released += ZRVXDeviceRelease(handle); });
    threads.clear();
    ASSERT_EQ(released, 4);  // all got one slot, which had as many references
    ASSERT_FALSE(ZRVXHasUsedDevices());
  }
}

TEST(HostThreads, TellTheMainThreadAndHandOutTokens) {
  EXPECT_TRUE(ZRVXIsMainThread());
  std::jthread([] {
    EXPECT_FALSE(ZRVXIsMainThread());
    ZRVXThreadDestroy(ZRVXThreadInit());
  });
}

}  // namespace
