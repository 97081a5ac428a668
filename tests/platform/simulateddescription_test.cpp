// SPDX-License-Identifier: MIT
#include "platform/simulated/simulateddescription.h"

#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using Devices = std::vector<SimulatedDescription>;

TEST(SimulatedDescription, Entries) {
  const struct {
    const char* text;
    void (*change)(Devices& devices);
  } cases[] = {
      {" ;; camera ; camcorder: ,", [](Devices&) {}},
      {"camera : size=640x480 , rate = 60000/2002;camera:name = Simulated Camera,format=yuvs",
       [](Devices& d) {
         d[0].width = 640, d[0].height = 480;
         d[0].rate = {30000, 1001}, d[0].pixelFormat = FourCharCode("yuvs");
       }},
      // The time is looked at after every option, whatever their order.
      {"camcorder:start=10:09:59:29,drop-frame=yes,rate=30000/1001",
       [](Devices& d) {
         d[1].rate = {30000, 1001}, d[1].dropFrame = true, d[1].tapeStart = {10, 9, 59, 29};
       }},
      {"camera:name=Küche=2: links,busy=yes,open=refuse;camera:name=Küche=2: links",
       [](Devices& d) {
         d.resize(5, d[0]);
         d[3].name = d[4].name = "Küche=2: links";
         d[3].busy = true, d[3].opening = SimulatedDescription::Opening::Refused;
       }},
      // The name of the other kind's standard device is a name like any.
      {"camcorder:name=Simulated Camera,unplug-after=0,replug-after=0.25,stall-after=1000000000",
       [](Devices& d) {
         d.resize(4, d[1]);
         d[3].name = d[0].name, d[3].unplugAfter = 0, d[3].stallAfter = 1000000000;
         d[3].replugAfter = std::chrono::milliseconds(250);
       }},
      {"microphone:rate=192000,channels=8,change-format-after=40;"
       "camcorder:length=0.2,spin-up=0,transport=play,avc=late",
       [](Devices& d) {
         d[2].sampleRate = 192000, d[2].channels = 8;
         d[2].changeFormatAfter = std::chrono::milliseconds(40);
         d[1].tapeLength = std::chrono::milliseconds(200), d[1].spinUp = {};
         d[1].playsWhenOpened = true, d[1].avc = SimulatedDescription::Avc::Late;
       }},
  };
  for (const auto& [text, change] : cases) {
    Devices expected = ParseSimulated("").devices;
    change(expected);
    const SimulatedDescriptions result = ParseSimulated(text);
    EXPECT_TRUE(result.devices == expected && result.broken.empty()) << text;
  }
}

TEST(SimulatedDescription, ABrokenEntryIsLeftOutAlone) {
  const std::string broken =
      "webcam:size=640x480;camera,size=640x480;:;=;camera:size;camera:size=640x480,colour=red;"
      "camera:name=;camera:name=" +
      std::string(201, 'x') +
      ";camera:name=bell \a;camera:name=nul \0.;camera:name=cut \xC3;camera:name=long \xC0\xAF;"
      "camera:name=surrogate \xED\xA0\x80;camera:name=beyond \xF4\x90\x80\x80;"s
      "camera:size=640;camera:size=640x;camera:size=14x480;camera:size=641x480;"
      "camera:size=640x8194;camera:size=-640x480;camera:size=640x480x2;"
      "camera:size=99999999999999999999x480;camera:rate=0;camera:rate=30/0;camera:rate=1/2;"
      "camera:rate=241;camera:rate=29.97;camera:rate=30/;camera:format=h264;camera:format=2vu;"
      "camera:start=01:00:00:00;camera:drop-frame=no;camcorder:start=01:00:00;"
      "camcorder:start=01:00:00:25;camcorder:start=24:00:00:00;camcorder:start=1:00:00:000;"
      "camcorder:drop-frame=yes;camcorder:rate=24,drop-frame=yes;camcorder:rate=120;"
      "camcorder:rate=25/2;camcorder:rate=30000/1001,drop-frame=yes,start=01:01:00:01;"
      "camera:Busy=yes;camera:busy=maybe;camera:open=slowly;camera:unplug-after=-1;"
      "camera:unplug-after=1000000001;camera:hang-for=nan;camera:hang-for=3601;"
      "camera:replug-after=1s;camera:tape=x.dv;camera:channels=2;microphone:size=640x480;"
      "microphone:rate=7999;microphone:rate=192001;microphone:rate=48000/1;microphone:channels=9;"
      "microphone:channels=0;microphone:change-format-after=0.5;camcorder:channels=2;"
      "camcorder:length=86401;camcorder:length=-1;camcorder:spin-up=nan;camcorder:avc=loud;"
      "camcorder:transport=yes;camcorder:tape=;camcorder:tape=/nowhere/tape.dv";
  std::istringstream entries(broken);
  for (std::string entry; std::getline(entries, entry, ';');) {
    const SimulatedDescriptions result = ParseSimulated(entry + " ;camera:busy=yes");
    EXPECT_EQ(result.broken, std::vector{entry});
    EXPECT_TRUE(result.devices == ParseSimulated("camera:busy=yes").devices) << entry;
  }
  // As are devices beyond the limit.
  std::string wall;
  for (int i = 0; i < 1000; ++i)
    wall += "camera:name=Wall " + std::to_string(i) + ";";
  EXPECT_EQ(ParseSimulated(wall).devices.size(), 64u);
  EXPECT_EQ(ParseSimulated(wall).broken.size(), 1000u - 61u);
}

TEST(TapeCounter, AgreesWithTimeCodesForAWholeDay) {
  const struct {
    guint numerator, denominator;
    bool dropFrame;
  } cases[] = {{24, 1, false}, {30000, 1001, false}, {30000, 1001, true}, {60000, 1001, true}};
  for (const auto& [numerator, denominator, dropFrame] : cases) {
    const TapeCounter counter({static_cast<int>(numerator), static_cast<int>(denominator)},
                              dropFrame);
    GstVideoTimeCode model;
    gst_video_time_code_init(
        &model, numerator, denominator, nullptr,
        dropFrame ? GST_VIDEO_TIME_CODE_FLAGS_DROP_FRAME : GST_VIDEO_TIME_CODE_FLAGS_NONE, 0, 0, 0,
        0, 0);
    for (std::uint32_t frame = 0; frame <= counter.FramesPerDay(); ++frame) {
      const TapeTime expected{static_cast<int>(model.hours), static_cast<int>(model.minutes),
                              static_cast<int>(model.seconds), static_cast<int>(model.frames)};
      ASSERT_EQ(counter.TimeAt(frame), expected) << frame << " at " << numerator;
      ASSERT_EQ(counter.FrameAt(expected), frame % counter.FramesPerDay());
      gst_video_time_code_increment_frame(&model);
    }
    gst_video_time_code_clear(&model);
  }
}

}  // namespace
