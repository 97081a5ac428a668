// SPDX-License-Identifier: MIT
#include "platform/simulated/simulatedsource.h"

#include <gst/check/gsttestclock.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "platform/gstreamer/gstpointer.h"
#include "platform/gstreamer/pixelformats.h"
#include "platform/gstreamer/sourcedevice.h"
#include "platform/simulated/simulatedprovider.h"
#include "platform/simulated/tapedrives.h"
#include "tests/support/burntin.h"

namespace {

using std::chrono::steady_clock;
using namespace std::chrono_literals;

/// A piece of sound that came out of a source.
struct Heard {
  GstClockTime time = 0;
  std::uint64_t offset = GST_BUFFER_OFFSET_NONE;
  bool isDiscontinuity = false;
  int rate = 0, channels = 0;
  std::vector<std::int16_t> samples;
};

/// What came out of a source.
struct Shown {
  std::uint64_t number = GST_BUFFER_OFFSET_NONE;
  GstClockTime time = 0;
  bool isDiscontinuity = false;
  std::string burntIn;
  std::string timeCode;     ///< empty without one
  std::vector<int> topRow;  ///< the bytes of the first line
};

class SimulatedSourceTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { gst_init(nullptr, nullptr); }
  void TearDown() override { Stop(); }

  /// Puts a source for the standard device as changed by an entry in a pipeline; its time stands
  /// still except where a test moves it, unless it is the time of this world.
  void Build(const std::string& entry, bool realTime = false, const char* between = "identity") {
    Stop();
    shown_.clear();
    heard_.clear();
    kept_.clear();
    clock_.reset();
    TapeTransport::Clock tapeClock;
    if (!realTime) {
      clock_.reset(GST_TEST_CLOCK(gst_test_clock_new_with_start_time(5 * GST_SECOND)));
      tapeClock = [clock = GST_CLOCK(clock_.get())] {
        return std::chrono::nanoseconds(gst_clock_get_time(clock));
      };
    }
    const bool isTape = entry.starts_with("camcorder"), isSound = entry.starts_with("microphone");
    hardware_ = std::make_shared<SimulatedHardware>(
        ParseSimulated(entry).devices.at(isSound ? 2 : isTape), tapeClock);
    pipeline_.reset(gst_pipeline_new(nullptr));
    GstElement* source = NewSimulatedSource(hardware_);
    gst_bin_add(AsBin(pipeline_.get()), source);
    Attach(source, "src", between, isSound ? Hear : Take);
    if (isTape) Attach(source, "sound", "identity", Hear);
    waits_ = isTape ? 2 : 1;
    if (clock_) gst_pipeline_use_clock(GST_PIPELINE(pipeline_.get()), GST_CLOCK(clock_.get()));
  }

  void Attach(GstElement* source, const char* padName, const char* between,
              GstPadProbeCallback take) {
    GstElement* middle = gst_parse_bin_from_description(between, TRUE, nullptr);
    GstElement* sink = gst_element_factory_make("fakesink", nullptr);
    g_object_set(sink, "enable-last-sample", FALSE, "async", FALSE, nullptr);
    gst_bin_add_many(AsBin(pipeline_.get()), middle, sink, nullptr);
    ASSERT_TRUE(gst_element_link_pads(source, padName, middle, "sink"));
    ASSERT_TRUE(gst_element_link(middle, sink));
    const GstPointer<GstPad> pad(gst_element_get_static_pad(sink, "sink"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, take, this, nullptr);
  }

  /// Gives the tape another motion, at once.
  void Drive(std::uint8_t operation, std::uint8_t mode) {
    hardware_->Tape().Drive(TapeDriveFor(operation, mode).value(), true);
  }

  bool Play() {
    return gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
  }
  void Stop() {
    if (pipeline_) gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  }

  /// Lets the source come to its next wait and sets the time of that moment.
  void SetTime(GstClockTime sinceStart) {
    gst_test_clock_wait_for_next_pending_id(clock_.get(), nullptr);
    gst_test_clock_set_time(clock_.get(), 5 * GST_SECOND + sinceStart);
  }

  /// Moves the time to what every thread of the source waits for.
  void Crank() {
    GList* waits = nullptr;
    gst_test_clock_wait_for_multiple_pending_ids(clock_.get(), waits_, &waits);
    const GstClockTime now = gst_clock_get_time(GST_CLOCK(clock_.get()));
    const GstClockTime due = gst_test_clock_id_list_get_latest_time(waits);
    if (due > now) gst_test_clock_set_time(clock_.get(), due);
    gst_test_clock_process_id_list(clock_.get(), waits);
    g_list_free_full(waits, gst_clock_id_unref);
  }

  /// The next frame, at the time that it is due or now when that has passed; none has no number.
  Shown Next(std::chrono::milliseconds limit = 10s) { return Next(shown_, limit); }
  Heard NextSound() { return Next(heard_, 10s, false); }

  template <class Came>
  Came Next(std::deque<Came>& queue, std::chrono::milliseconds limit, bool cranks = true) {
    if (clock_ && cranks) Crank();
    std::unique_lock lock(mutex_);
    if (!came_.wait_for(lock, limit, [&] { return !queue.empty(); })) return {};
    const Came came = queue.front();
    queue.pop_front();
    return came;
  }

  /// The first message of the kind; null when none is waiting and none comes.
  GstPointer<GstMessage> Message(GstMessageType type, GstClockTime limit = 10 * GST_SECOND) {
    const GstPointer<GstBus> bus(gst_element_get_bus(pipeline_.get()));
    return GstPointer<GstMessage>(gst_bus_timed_pop_filtered(bus.get(), limit, type));
  }

  std::shared_ptr<SimulatedHardware> hardware_;
  GstPointer<GstElement> pipeline_;
  GstPointer<GstTestClock> clock_;
  bool keepsBuffers_ = false;
  std::deque<Shown> shown_;
  std::deque<Heard> heard_;

 private:
  // Frames are looked at where they come, on the streaming thread, and handed over under a lock
  // that the thread sanitizer can see.
  static GstPadProbeReturn Take(GstPad* pad, GstPadProbeInfo* probe, gpointer test) {
    auto* self = static_cast<SimulatedSourceTest*>(test);
    const GstPointer<GstCaps> caps(gst_pad_get_current_caps(pad));
    GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(probe);
    Shown shown{GST_BUFFER_OFFSET(buffer),
                GST_BUFFER_PTS(buffer),
                GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT),
                "",
                "",
                {}};
    if (const auto* meta = gst_buffer_get_video_time_code_meta(buffer)) {
      gchar* text = gst_video_time_code_to_string(&meta->tc);
      shown.timeCode = text;
      g_free(text);
    }
    GstVideoInfo info;
    GstVideoFrame frame;
    if (gst_video_info_from_caps(&info, caps.get()) &&
        gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ)) {
      const auto* pixels = static_cast<const unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
      const auto row = static_cast<std::size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0));
      shown.topRow.assign(pixels, pixels + row);
      const SimulatedDescription& device = self->hardware_->Description();
      shown.burntIn = ReadBurntIn(
          {pixels, gstreamer::PixelFormatCode(info), static_cast<std::size_t>(info.width),
           static_cast<std::size_t>(info.height), row},
          static_cast<std::size_t>(device.width), static_cast<std::size_t>(device.height));
      gst_video_frame_unmap(&frame);
    }
    const std::lock_guard lock(self->mutex_);
    if (self->keepsBuffers_) self->kept_.emplace_back(gst_buffer_ref(buffer));
    self->shown_.push_back(shown);
    self->came_.notify_one();
    return GST_PAD_PROBE_OK;
  }

  static GstPadProbeReturn Hear(GstPad* pad, GstPadProbeInfo* probe, gpointer test) {
    auto* self = static_cast<SimulatedSourceTest*>(test);
    const GstPointer<GstCaps> caps(gst_pad_get_current_caps(pad));
    GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(probe);
    Heard heard;
    heard.time = GST_BUFFER_PTS(buffer);
    heard.offset = GST_BUFFER_OFFSET(buffer);
    heard.isDiscontinuity = GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    const GstStructure* format = gst_caps_get_structure(caps.get(), 0);
    gst_structure_get(format, "rate", G_TYPE_INT, &heard.rate, "channels", G_TYPE_INT,
                      &heard.channels, nullptr);
    heard.samples.resize(gst_buffer_get_size(buffer) / sizeof(std::int16_t));
    gst_buffer_extract(buffer, 0, heard.samples.data(), gst_buffer_get_size(buffer));
    const std::lock_guard lock(self->mutex_);
    self->heard_.push_back(heard);
    self->came_.notify_one();
    return GST_PAD_PROBE_OK;
  }

  std::mutex mutex_;
  std::condition_variable came_;
  guint waits_ = 1;  ///< threads of the source that wait on the clock
  std::vector<GstPointer<GstBuffer>> kept_;
};

TEST_F(SimulatedSourceTest, FramesComeInEveryFormatWithTheSameColoursAtTheirTimes) {
  // 162 pixels: rows that the stream pads.
  for (const char* options :
       {"rate=30", "rate=30000/1001,format=yuvs,size=162x42", "rate=240,format=BGRA",
        "rate=7,format=y420,size=162x50", "rate=1,format=420v,size=162x42"}) {
    Build(std::string("camera:size=320x240,") + options, false,
          "videoconvert ! capsfilter caps=video/x-raw,format=BGRA,colorimetry=sRGB");
    const FrameRate rate = hardware_->Description().rate;
    ASSERT_TRUE(Play());
    for (std::uint64_t number = 0; number < 5; ++number) {
      const Shown shown = Next();
      EXPECT_EQ(shown.number, number);
      EXPECT_EQ(shown.burntIn, "00000" + std::to_string(number)) << options;
      EXPECT_EQ(shown.time,
                gst_util_uint64_scale(number * static_cast<guint64>(rate.denominator), GST_SECOND,
                                      static_cast<guint64>(rate.numerator)));
      EXPECT_EQ(gst_clock_get_time(GST_CLOCK(clock_.get())), 5 * GST_SECOND + shown.time)
          << "not before it is due";
      if (number > 0) continue;
      const int colours[][4] = {{1, 0, 191, 191}, {3, 0, 191, 0}, {6, 191, 0, 0}};
      for (const auto& bar : colours) {
        const std::size_t at = shown.topRow.size() / 4 * (2 * std::size_t(bar[0]) + 1) / 16 * 4;
        for (std::size_t i = 0; i < 3; ++i)
          EXPECT_NEAR(shown.topRow.at(at + i), bar[i + 1], 8) << options << " bar " << bar[0];
      }
    }
  }
}

TEST_F(SimulatedSourceTest, TimeCodesGoOnOverMinutesHoursDaysAndStops) {
  const struct {
    const char* options;
    const char* first;
    const char* later;  ///< the eighth
  } cases[] = {
      {"start=23:59:59:23,rate=24", "23:59:59:23", "00:00:00:06"},
      {"start=01:00:59:25,rate=30000/1001,drop-frame=yes", "01:00:59;25", "01:01:00;04"},
  };
  for (const auto& [options, first, later] : cases) {
    // A text stays readable when it is scaled.
    Build(std::string("camcorder:") + options, false,
          "videoconvertscale ! capsfilter caps=video/x-raw,format=BGRA,width=360,height=288");
    Drive(avc::kPlay, avc::kForward);
    std::string text;
    for (std::uint64_t i = 0; i < 8; ++i) {
      // While the clock stands still, so does the tape: a stop between two frames loses none, and
      // the capture after the first one has no frame from before it.
      if (i % 3 == 0) {
        Stop();
        ASSERT_TRUE(Play());
      }
      if (i > 0 && i % 3 == 0) Next();
      const Shown shown = Next();
      EXPECT_EQ(shown.burntIn, shown.timeCode);
      text = shown.timeCode;
      EXPECT_TRUE(i > 0 || text == first) << text;
    }
    EXPECT_EQ(text, later);
  }
}

/// What docs/simulated.md says about sample n of the sound of a tape.
double TapeSample(std::uint64_t n, std::uint64_t inFrame, bool beeps) {
  const auto tone = [](double decibels, double frequency, std::uint64_t at) {
    return 32767 * std::pow(10, decibels / 20) *
           std::sin(2 * M_PI * frequency * static_cast<double>(at) / 48000);
  };
  return tone(-30, 440, n) + (beeps ? tone(-12, 1000, inFrame) : 0);
}

TEST_F(SimulatedSourceTest, ATapeGivesPicturesAndSoundOfOneMomentWhileItPlays) {
  for (const char* options :
       {"start=01:00:00:22", "start=01:00:59:27,rate=30000/1001,drop-frame=yes",
        "start=01:00:00:20,rate=24000/1001"}) {
    Build(std::string("camcorder:size=320x240,length=1,") + options);
    const FrameRate rate = hardware_->Description().rate;
    ASSERT_TRUE(Play());
    EXPECT_EQ(Next(shown_, 50ms, false).number, GST_BUFFER_OFFSET_NONE) << "stands still";
    // A second passes before it plays: the time of the stream goes on, its frames begin with 0.
    gst_test_clock_set_time(clock_.get(), 6 * GST_SECOND);
    Drive(avc::kPlay, avc::kForward);
    int beeps = 0;
    for (std::uint64_t frame = 0; frame < 5; ++frame) {
      const Shown shown = Next();
      const Heard heard = NextSound();
      EXPECT_EQ(shown.number, frame);
      EXPECT_EQ(shown.time, GST_SECOND + TimeOfFrames(rate, frame));
      EXPECT_EQ(shown.isDiscontinuity, frame == 0);
      EXPECT_EQ(heard.time, shown.time);
      EXPECT_EQ(heard.rate, 48000);
      const std::uint64_t first =
          frame * 48000 * std::uint64_t(rate.denominator) / std::uint64_t(rate.numerator);
      EXPECT_EQ(heard.offset, first);
      const bool begins = shown.timeCode.ends_with(":00") || shown.timeCode == "01:01:00;02";
      beeps += begins;
      double error = heard.samples.size() < 1600 ? 1e9 : 0;
      for (std::size_t i = 0; i < heard.samples.size(); ++i)
        error =
            std::max(error, std::abs(heard.samples[i] - TapeSample(first + i / 2, i / 2, begins)));
      EXPECT_LT(error, 1.0) << options << " frame " << frame;
    }
    EXPECT_EQ(beeps, 1) << options;
    // Searching shows every third frame, without sound; the tape then comes to its end.
    Drive(avc::kPlay, 0x3b);
    for (std::uint64_t i = 0; i < 3; ++i) {
      const TapeTime time = hardware_->TimeCodeOf(4 + 3 * i);
      EXPECT_EQ(Next().burntIn.substr(9), std::to_string(time.frames + 100).substr(1)) << i;
    }
    while (hardware_->Tape().Motion().drive.speed != 0)
      Crank();
    EXPECT_EQ(Next(heard_, 50ms, false).offset, GST_BUFFER_OFFSET_NONE);
    shown_.clear();
    // Then a step back from the last frame, which shows one, and the wind, which shows none.
    Drive(avc::kPlay, avc::kForwardPause);
    Drive(avc::kPlay, avc::kPreviousFrame);
    const std::uint64_t last = TapeFrames(hardware_->Description()) - 1;
    const std::string code = Next().timeCode;
    EXPECT_EQ(std::stoi(code.substr(9)), hardware_->TimeCodeOf(last - 1).frames) << code;
    Drive(avc::kWind, avc::kRewind);
    EXPECT_EQ(Next(shown_, 50ms).number, GST_BUFFER_OFFSET_NONE);
    EXPECT_EQ(hardware_->Tape().Frame(), 0u);
  }
}

TEST_F(SimulatedSourceTest, AMicrophoneHearsTonesOfKnownLevels) {
  const double frequencies[] = {1000, 440, 500, 600, 700, 800, 900, 1100};
  const double levels[] = {-6, -12, -18, -24};
  for (const char* options :
       {"", "rate=8001,channels=8", "channels=1,rate=192000,change-format-after=1060"}) {
    Build(std::string("microphone:") + options);
    const SimulatedDescription device = hardware_->Description();
    ASSERT_TRUE(Play());
    std::uint64_t n = 0;
    for (std::uint64_t piece = 0; piece < 30; ++piece) {
      const Heard heard = Next(heard_, 10s);
      const bool changed = device.changeFormatAfter && piece >= 27;
      const auto rate = static_cast<std::uint64_t>(changed ? 44100 : device.sampleRate);
      ASSERT_EQ(heard.rate, static_cast<int>(rate));
      ASSERT_EQ(heard.channels, changed ? 1 : device.channels);
      EXPECT_EQ(heard.time, piece * 40 * GST_MSECOND);
      if (changed && piece == 27) n = 27 * 44100 / 25;
      EXPECT_EQ(heard.offset, n);
      double error = 0;
      for (std::size_t i = 0; i < heard.samples.size(); ++i) {
        const auto channel = i % static_cast<std::size_t>(heard.channels);
        const std::uint64_t at = n + i / static_cast<std::size_t>(heard.channels);
        const double expected = 32767 * std::pow(10, levels[at / rate % 4] / 20) *
                                std::sin(2 * M_PI * frequencies[channel] * static_cast<double>(at) /
                                         static_cast<double>(rate));
        error = std::max(error, std::abs(heard.samples[i] - expected));
      }
      EXPECT_LT(error, 1.0) << options << " piece " << piece;
      n += heard.samples.size() / static_cast<std::size_t>(heard.channels);
      EXPECT_EQ(n, (piece + 1) * rate / 25);
    }
  }
}

TEST_F(SimulatedSourceTest, ALateConsumerGetsAFewFramesAndThenTheCurrentOne) {
  Build("camera:size=320x240,rate=25");
  constexpr GstClockTime kFrame = GST_SECOND / 25;
  ASSERT_TRUE(Play());
  EXPECT_EQ(Next().number, 0u);
  SetTime(4 * kFrame);  // three behind
  for (std::uint64_t number = 1; number <= 5; ++number) {
    const Shown shown = Next();
    EXPECT_EQ(shown.number, number);
    EXPECT_FALSE(shown.isDiscontinuity);
  }
  EXPECT_FALSE(Message(GST_MESSAGE_QOS, 0));
  SetTime(20 * kFrame + kFrame / 2);
  EXPECT_EQ(Next().number, 6u) << "the one that was waiting already";
  const Shown shown = Next();
  EXPECT_EQ(shown.number, 20u);
  EXPECT_EQ(shown.time, 20 * kFrame);
  EXPECT_EQ(shown.burntIn, "000020");
  EXPECT_TRUE(shown.isDiscontinuity);
  const GstPointer<GstMessage> message = Message(GST_MESSAGE_QOS);
  ASSERT_TRUE(message);
  guint64 dropped = 0;
  gst_message_parse_qos_stats(message.get(), nullptr, nullptr, &dropped);
  EXPECT_EQ(dropped, 13u);
  EXPECT_EQ(Next().number, 21u);
}

TEST_F(SimulatedSourceTest, AConsumerThatKeepsItsFramesHoldsUpNoStop) {
  Build("camera:size=16x16,rate=240", true);
  keepsBuffers_ = true;
  ASSERT_TRUE(Play());
  for (int i = 0; i < 32; ++i)
    EXPECT_LT(Next().number, GST_BUFFER_OFFSET_NONE) << i;
  EXPECT_EQ(Next(100ms).number, GST_BUFFER_OFFSET_NONE);
  const auto start = steady_clock::now();
  Stop();
  EXPECT_LT(steady_clock::now() - start, 2s);
}

TEST(SimulatedDevice, HasAnIdOfItsOwnAndActsOutItsFailures) {
  gst_init(nullptr, nullptr);
  const auto provider = NewSimulatedProvider(
      "camera:name=Twin;camera:name=Twin,busy=yes;camcorder:name=Twin,open=refuse;"
      "camera:name=Slow,open=hang,hang-for=0.05");
  const auto devices = provider->Devices();
  ASSERT_EQ(devices.size(), 7u);
  std::set<std::string> ids;
  for (std::size_t i = 0; i < devices.size(); ++i) {
    auto& device = static_cast<SourceDevice&>(*devices[i]);
    EXPECT_EQ(provider->Devices()[i].get(), &device);
    ids.insert(device.UniqueID());
    EXPECT_EQ(device.FormatDescriptions().size(), 1u);
    EXPECT_EQ(device.StreamDescriptions().size(), i == 1 || i == 5 ? 2u : 1u);
    EXPECT_EQ(device.IsInUseByAnotherApplication(), i == 4);
    const bool opens = i != 4 && i != 5;
    EXPECT_EQ(device.Open(), opens);
    // The element is floating: the pointer takes it over.
    const GstPointer<GstElement> source(device.BeginStreaming({}, {}).element);
    EXPECT_EQ(source != nullptr, opens);
  }
  EXPECT_EQ(ids.size(), devices.size());
  EXPECT_EQ(*ids.begin(), "simulated:camcorder:Simulated Camcorder") << "must never change";
}

}  // namespace
