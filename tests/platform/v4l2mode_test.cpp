// SPDX-License-Identifier: MIT
#include "platform/v4l2/v4l2mode.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/gstreamer/gstreamerplatform.h"

namespace {

/// A usual webcam: raw pictures fast in small sizes and slow in large ones, JPEG fast in all.
constexpr const char* kWebcam =
    "video/x-raw,format=YUY2,width=640,height=480,framerate={30/1,15/1};"
    "video/x-raw,format=YUY2,width=1280,height=720,framerate=10/1;"
    "video/x-raw,format=YUY2,width=1920,height=1080,framerate=5/1;"
    "image/jpeg,width=1280,height=720,framerate={60/1,30/1,24/1};"
    "image/jpeg,width=1920,height=1080,framerate=30/1";
/// A driver that does any size between limits, in several formats.
constexpr const char* kAnySize =
    "video/x-raw,format={BGRA,UYVY},width=[16,3840,2],height=[16,2160,2],framerate=[1/1,60/1]";
/// Sensors of large sizes only, one of them in a format that has no code.
constexpr const char* kLarge =
    "video/x-raw,format=GBR,width=1920,height=1080,framerate=30/1;"
    "video/x-raw,format=NV12,width={3840,2560},height=1440,framerate=30/1";

struct Choice {
  const char* offered;
  unsigned format;
  int width, height;
  const char* chosen;
};

TEST(V4L2Mode, TakesTheModeThatSuitsBest) {
  gstreamer::Initialise();
  const Choice table[] = {
      {kWebcam, 0, 0, 0, "image/jpeg,width=1280,height=720,framerate=30/1"},
      {kWebcam, 0, 640, 480, "video/x-raw,format=YUY2,width=640,height=480,framerate=30/1"},
      {kWebcam, 0, 1920, 1080, "image/jpeg,width=1920,height=1080,framerate=30/1"},
      {kWebcam, 0, 320, 240, "video/x-raw,format=YUY2,width=640,height=480,framerate=30/1"},
      {kWebcam, 0, 800, 600, "image/jpeg,width=1280,height=720,framerate=30/1"},
      {kWebcam, 0, 4000, 3000, "image/jpeg,width=1920,height=1080,framerate=30/1"},
      {kWebcam, 0, 640, 0, "video/x-raw,format=YUY2,width=640,height=480,framerate=30/1"},
      {kAnySize, 0, 0, 0, "video/x-raw,format=UYVY,width=1280,height=720,framerate=30/1"},
      {kAnySize, FourCharCode("BGRA"), 200, 150,
       "video/x-raw,format=BGRA,width=200,height=150,framerate=30/1"},
      {kAnySize, FourCharCode("y420"), 200, 150,
       "video/x-raw,format={BGRA,UYVY},width=200,height=150,framerate=30/1"},
      {kLarge, 0, 0, 0, "video/x-raw,format=GBR,width=1920,height=1080,framerate=30/1"},
      {"video/x-h264,width=640,height=480,framerate=30/1", 0, 0, 0, nullptr},
      {"EMPTY", 0, 0, 0, nullptr},
  };
  for (const Choice& row : table) {
    SCOPED_TRACE(testing::Message() << row.offered << " for " << row.width << "x" << row.height);
    CVPixelBufferAttributes wish;
    if (row.format) wish.kCVPixelBufferPixelFormatTypeKey = row.format;
    if (row.width) wish.kCVPixelBufferWidthKey = row.width;
    if (row.height) wish.kCVPixelBufferHeightKey = row.height;
    const GstPointer<GstCaps> offered(gst_caps_from_string(row.offered));
    const GstPointer<GstCaps> mode = gstreamer::ChooseMode(offered.get(), wish);
    if (!row.chosen) {
      EXPECT_FALSE(mode);
      continue;
    }
    ASSERT_TRUE(mode);
    const GstPointer<GstCaps> chosen(gst_caps_from_string(row.chosen));
    const GstPointer<gchar> text(gst_caps_to_string(mode.get()));
    EXPECT_TRUE(gst_caps_is_fixed(mode.get())) << text.get();
    EXPECT_TRUE(gst_caps_is_subset(mode.get(), chosen.get())) << text.get();
  }
}

}  // namespace
