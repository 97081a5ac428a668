// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_CAPTURE_CAPTUREFIXTURE_H
#define ZORVEX_TESTS_CAPTURE_CAPTUREFIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture/zorvex.h"
#include "capture/zorvexdevice.h"
#include "tests/support/scriptedplatform.h"

struct StartArguments {
  ZRVXVideoCallBack callBack = nullptr;
  long data = 0;
  unsigned int pixelFormat = 0;
  unsigned long width = 0, height = 0;
  char const* movieFile = nullptr;
  ZRVXAudioCallBack audioCallBack = nullptr;
  long audioData = 0;
  unsigned int flags = 0;
  unsigned long rate = 0, channels = 0, bytes = 0;
  char const* audioDevice = nullptr;  ///< a separate one
};

inline bool Start(unsigned long handle, const StartArguments& arguments = {}) {
  const auto start = [&a = arguments](auto function, auto... device) {
    return function(device..., a.callBack, a.data, a.pixelFormat, a.width, a.height,
                    a.audioCallBack, a.audioData, a.flags, a.rate, a.channels, a.bytes,
                    a.movieFile);
  };
  return arguments.audioDevice
             ? start(ZRVXDeviceStartCaptureWithAudioDevice, handle, arguments.audioDevice)
             : start(ZRVXDeviceStartCapture, handle);
}

/// 16 bits, stereo, at the rate that is the default.
constexpr AudioStreamBasicDescription Stereo{44100, kAudioFormatLinearPCM, 12, 4, 1, 4, 2, 16, 0};

inline Retained<QTFormatDescription> SoundFormat(std::optional<AudioStreamBasicDescription> sound) {
  return MakeRetained<QTFormatDescription>(QTMediaType::QTMediaTypeSound, kAudioFormatLinearPCM,
                                           QTFormatDescriptionAttributes{{}, sound});
}

/// Each test leaves the device table and the platform as empty as it found them.
class CaptureFixture : public testing::Test {
 protected:
  CaptureFixture() { ZRVXDevice::bIsAudioRecordingSupported = true; }
  void TearDown() override {
    platform.devices.clear();
    EXPECT_FALSE(ZRVXHasUsedDevices());
    EXPECT_EQ(platform.liveObjects, 0);
  }
  /// A camera, or another device with pictures, that is open.
  unsigned long OpenCamera(const char* name = "Camera",
                           QTMediaType type = QTMediaType::QTMediaTypeVideo) {
    platform.AddDevice(name, {type});
    const unsigned long handle = ZRVXDeviceGet(name, ZRVXDeviceMediaTypeVideo);
    EXPECT_TRUE(ZRVXDeviceOpen(handle));
    platform.TakeLog();
    return handle;
  }
  bool DeliverSound(const std::vector<unsigned char>& samples = std::vector<unsigned char>(8)) {
    AudioBufferList list{1,
                         {{2, static_cast<std::uint32_t>(samples.size()),
                           const_cast<unsigned char*>(samples.data())}}};
    return platform.Deliver(ScriptedSound(SoundFormat(Stereo), &list));
  }

  ScriptedPlatform platform;
};

#endif  // ZORVEX_TESTS_CAPTURE_CAPTUREFIXTURE_H
