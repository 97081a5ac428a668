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
};

inline bool Start(unsigned long handle, const StartArguments& arguments = {}) {
  return ZRVXDeviceStartCapture(handle, arguments.callBack, arguments.data, arguments.pixelFormat,
                                arguments.width, arguments.height, nullptr, 0, 0, 0, 0, 0,
                                arguments.movieFile);
}

/// Each test leaves the device table and the platform as empty as it found them.
class CaptureFixture : public testing::Test {
 protected:
  void TearDown() override {
    platform.devices.clear();
    EXPECT_FALSE(ZRVXHasUsedDevices());
    EXPECT_EQ(platform.liveObjects, 0);
  }
  /// A camera that is open.
  unsigned long OpenCamera() {
    platform.AddDevice("Camera");
    const unsigned long handle = ZRVXDeviceGet("Camera", ZRVXDeviceMediaTypeVideo);
    EXPECT_TRUE(ZRVXDeviceOpen(handle));
    platform.TakeLog();
    return handle;
  }

  ScriptedPlatform platform;
};

#endif  // ZORVEX_TESTS_CAPTURE_CAPTUREFIXTURE_H
