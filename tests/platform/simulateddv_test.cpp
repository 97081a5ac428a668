// SPDX-License-Identifier: MIT
// Files of DV as tapes, and what a DV source makes of frames good and bad.
#include <gst/video/video.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "platform/dv/dvtimecode.h"
#include "platform/gstreamer/gstpointer.h"
#include "platform/gstreamer/handover.h"
#include "platform/simulated/simulateddeck.h"
#include "platform/simulated/simulatedsource.h"
#include "platform/simulated/tapedrives.h"
#include "tests/support/foldertest.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

class SimulatedDvTest : public FolderTest {
 protected:
  std::string Path(const std::string& name) const { return root_ / name; }
  static void SetUpTestSuite() { gst_init(nullptr, nullptr); }
  void SetUp() override {
    if (std::system("ffmpeg -version > /dev/null 2>&1") != 0) {
      GTEST_SKIP() << "makes its tapes with ffmpeg: install the package ffmpeg";
    }
  }
  void Run(const std::string& arguments) const {
    ASSERT_EQ(std::system(("ffmpeg -v error -y " + arguments).c_str()), 0) << arguments;
  }
  /// Records pictures and two different tones, a second and a bit.
  std::string Tape(const char* target, const char* timeCode) const {
    const std::string path = Path(std::string(target) + ".dv");
    Run("-f lavfi -i testsrc -f lavfi -i "
        "'aevalsrc=0.3*sin(1000*2*PI*t)|0.3*sin(330*2*PI*t):s=48000'"
        " -t 1.2 -target " +
        std::string(target) + "-dv -timecode '" + timeCode + "' " + path);
    return path;
  }
  static Bytes Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }
  static void Write(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }
};

/// A capture from a tape, which is played as a test says, until the tape has stopped.
struct Capture {
  struct Frame {
    GstClockTime time;
    Bytes bytes;
    std::string timeCode;
  };
  std::vector<Frame> frames;
  std::vector<GstClockTime> soundTimes;
  Bytes sound;
  std::mutex mutex;

  explicit Capture(const std::string& path, std::uint8_t mode = avc::kForward,
                   const std::function<void(SimulatedHardware&)>& meanwhile = {}) {
    auto descriptions = ParseSimulated("camcorder:tape=" + path);
    if (!descriptions.broken.empty()) return;
    auto hardware = std::make_shared<SimulatedHardware>(descriptions.devices.at(1));
    const GstPointer<GstElement> pipeline(gst_pipeline_new(nullptr));
    GstElement* source = NewSimulatedSource(hardware);
    gst_bin_add(AsBin(pipeline.get()), source);
    for (const char* name : {"src", "sound"}) {
      GstElement* sink = gst_element_factory_make("fakesink", nullptr);
      g_object_set(sink, "async", FALSE, nullptr);
      gst_bin_add(AsBin(pipeline.get()), sink);
      EXPECT_TRUE(gst_element_link_pads(source, name, sink, "sink"));
      const GstPointer<GstPad> pad(gst_element_get_static_pad(sink, "sink"));
      gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER,
                        *name == 's' && name[1] == 'r' ? TakeFrame : TakeSound, this, nullptr);
    }
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    hardware->Tape().Drive(TapeDriveFor(avc::kPlay, mode).value());
    if (meanwhile) meanwhile(*hardware);
    while (hardware->Tape().Motion().drive.speed != 0)
      g_usleep(10000);
    // The last sound has a thread of its own.
    for (int i = 0; i < 100 && !IsComplete(); ++i)
      g_usleep(10000);
    const GstPointer<GstBus> bus(gst_element_get_bus(pipeline.get()));
    const GstPointer<GstMessage> error(gst_bus_pop_filtered(bus.get(), GST_MESSAGE_ERROR));
    EXPECT_FALSE(error);
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
  }

  bool IsComplete() {
    const std::lock_guard lock(mutex);
    return soundTimes.size() == frames.size();
  }

  static Bytes BytesOf(GstPadProbeInfo* probe) {
    GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(probe);
    const gstreamer::HandOver handOver(buffer);
    Bytes bytes(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
    return bytes;
  }
  static GstPadProbeReturn TakeFrame(GstPad*, GstPadProbeInfo* probe, gpointer self) {
    GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(probe);
    Frame frame{GST_BUFFER_PTS(buffer), BytesOf(probe), ""};
    if (const auto* meta = gst_buffer_get_video_time_code_meta(buffer)) {
      gchar* text = gst_video_time_code_to_string(&meta->tc);
      frame.timeCode = text;
      g_free(text);
    }
    auto* capture = static_cast<Capture*>(self);
    const std::lock_guard lock(capture->mutex);
    capture->frames.push_back(std::move(frame));
    return GST_PAD_PROBE_OK;
  }
  static GstPadProbeReturn TakeSound(GstPad*, GstPadProbeInfo* probe, gpointer self) {
    const gstreamer::HandOver handOver(GST_PAD_PROBE_INFO_BUFFER(probe));
    const Bytes bytes = BytesOf(probe);
    auto* capture = static_cast<Capture*>(self);
    const std::lock_guard lock(capture->mutex);
    capture->soundTimes.push_back(GST_BUFFER_PTS(GST_PAD_PROBE_INFO_BUFFER(probe)));
    capture->sound.insert(capture->sound.end(), bytes.begin(), bytes.end());
    return GST_PAD_PROBE_OK;
  }
};

TEST_F(SimulatedDvTest, ATapePlaysWhatIsInTheFile) {
  const struct {
    const char* target;
    const char* start;
    std::size_t frameSize, second;  ///< the last frame of the first second
    const char* code;               ///< of it
    bool isShort;                   ///< the sound declared to be of 12 bits
  } cases[] = {
      {"pal", "10:51:58:10", 144000, 24, "10:51:59:09", false},
      {"ntsc", "00:00:59;10", 120000, 29, "00:01:00;11", false},
      {"pal", "10:51:58:10", 144000, 24, "10:51:59:09", true},
      {"ntsc", "00:00:59;10", 120000, 29, "00:01:00;11", true},
  };
  for (const auto& [target, start, frameSize, second, code, isShort] : cases) {
    const std::string path = Tape(target, start);
    Bytes file = Read(path);
    if (isShort) {
      for (std::size_t i = 0; i < file.size(); i += 80) {
        // The pack about the sound: 32000 samples a second, 12 bits, as many as may be.
        if (file[i] >> 5 == 3 && file[i + 3] == 0x50) file[i + 4] = 0xC0 | 0x10, file[i + 7] = 0xD1;
      }
      Write(path, file);
    }
    Run("-i " + path + " -map 0:a:0 -f s16le " + Path("sound.pcm"));
    const Bytes decoded = Read(Path("sound.pcm"));
    const std::size_t count = file.size() / frameSize;
    const Capture capture(path);
    // Some frames may be lost where the machine is loaded, but none is another one.
    ASSERT_GE(capture.frames.size(), count / 2);
    ASSERT_EQ(capture.frames.size(), capture.soundTimes.size());
    EXPECT_EQ(capture.frames[0].timeCode, start);
    const FrameRate rate = frameSize == 144000 ? FrameRate{25, 1} : FrameRate{30000, 1001};
    for (std::size_t i = 0; i < capture.frames.size(); ++i) {
      const auto& [time, bytes, timeCode] = capture.frames[i];
      EXPECT_EQ(time, capture.soundTimes[i]);
      const std::uint64_t index = FramesInTime(rate, time - capture.frames[0].time + 1000);
      EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(),
                             file.begin() + static_cast<std::ptrdiff_t>(index * frameSize)))
          << "frame " << index;
      EXPECT_TRUE(index != second || timeCode == code) << timeCode;
    }
    const bool isWhole = capture.frames.size() == count;
    EXPECT_TRUE(!isWhole || capture.sound == decoded) << target << isShort;
  }
}

TEST_F(SimulatedDvTest, SearchingJumpsMutesAndAnswersFromTheTape) {
  const std::string path = Tape("pal", "10:20:30:00");
  const Capture capture(path, 0x3A, [](SimulatedHardware& hardware) {
    SimulatedDeck deck({std::shared_ptr<SimulatedHardware>(), &hardware});
    const Bytes question{0x01, 0x20, 0x51, 0x71, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(deck.Transact(question, 1s), (Bytes{0x0C, 0x20, 0x51, 0x71, 0, 0x30, 0x20, 0x10}));
  });
  ASSERT_GE(capture.frames.size(), 10u);
  EXPECT_TRUE(capture.soundTimes.empty());
  for (const auto& frame : capture.frames)
    EXPECT_EQ(std::stoi(frame.timeCode.substr(9)) % 2, frame.timeCode[7] == '1') << frame.timeCode;
}

TEST_F(SimulatedDvTest, WhatIsNoTapeIsLeftOut) {
  const Bytes good = Read(Tape("pal", "00:00:00:00"));
  const auto head = [&](std::size_t size) {
    return Bytes(good.begin(), good.begin() + long(size));
  };
  Bytes wrongSystem = head(140000), fast = head(144000);
  wrongSystem[3] = 0xBF;
  for (std::size_t i = 0; i < fast.size(); i += 12000) {
    for (std::size_t at = 240; at < 480; ++at)
      if (fast[i + at] == 0x60 && (at % 80 - 3) % 5 == 0) fast[i + at + 3] |= 4;
  }
  const std::pair<const char*, Bytes> files[] = {
      {"empty", {}},          {"short", head(143999)}, {"header", head(100)},
      {"other", wrongSystem}, {"fast", fast},          {"noise", Bytes(200000, 0x1f)}};
  std::vector<std::string> paths{"/dev/zero", Path("pipe"), Path("missing"), Path(""), "/"};
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  for (const auto& [name, bytes] : files) {
    Write(Path(name), bytes);
    paths.push_back(Path(name));
  }
  for (const std::string& path : paths) {
    const std::string entry = "camcorder:tape=" + path;
    EXPECT_EQ(ParseSimulated(entry).broken, std::vector{entry});
  }
  Write(Path("one"), head(144000 + 5));
  EXPECT_EQ(TapeFrames(ParseSimulated("camcorder:tape=" + Path("one")).devices[1]), 1u);
}

TEST_F(SimulatedDvTest, DamageCostsNoMoreThanItsFrames) {
  const std::string path = Tape("ntsc", "00:00:00:00");
  const Bytes good = Read(path);
  std::mt19937 random(3);
  for (int round = 0; round < 2; ++round) {
    Bytes bad = good;
    for (std::size_t frame = 2; frame * 120000 < bad.size(); ++frame) {
      std::uint8_t* const bytes = &bad[frame * 120000];
      if (frame % 4 == 0) bytes[random() % 4] ^= 0x55;  // not recognised any more
      if (frame % 4 == 1) {
        for (int i = 0; i < 5000; ++i)
          bytes[8 + random() % 119992] = static_cast<std::uint8_t>(random());
      }
      for (std::size_t i = 0; frame % 4 == 2 && i < 120000; i += 80) {
        // What the frame says about its sound, at random.
        for (std::size_t k = 4; bytes[i] >> 5 == 3 && bytes[i + 3] == 0x50 && k < 8; ++k)
          bytes[i + k] = static_cast<std::uint8_t>(random());
      }
    }
    Write(path, bad);
    const Capture capture(path, avc::kForward, [&](SimulatedHardware& hardware) {
      if (round != 1) return;
      while (hardware.Tape().Frame() < 10)
        g_usleep(1000);
      fs::resize_file(path, 120000 * 20 + 7);
    });
    // All but every fourth frame, and of a tape that was cut short those before.
    const std::size_t count = (round == 1 ? 20 : good.size() / 120000) * 3 / 4;
    EXPECT_LE(capture.frames.size(), count + 1);
    EXPECT_GE(capture.frames.size(), count / 2);
  }
}

TEST(DvTimeCode, IsWhatMostCopiesSay) {
  using Codes = std::vector<std::uint32_t>;  // frames, seconds, minutes, hours from high to low
  const struct {
    bool is625;
    Codes copies;
    std::optional<gstreamer::DvTimeCode> code;
  } cases[] = {
      {true, {0x24595923}, {{23, 59, 59, 24, false}}},
      {true, {0x24595923, 0x11223344, 0x11223344}, {{4, 33, 22, 11, false}}},
      {true, {0x01020304, 0x10111213, 0x10111213, 0xffffffff}, {{13, 12, 11, 10, false}}},
      {true, {0xC1D2D3D4, 0x10111213}, {{14, 53, 52, 1, false}}},  // bits that are no digits
      {true, {0x25000000}, std::nullopt},
      {false, {0x29000000}, {{0, 0, 0, 29, false}}},
      {false, {0x69000000}, {{0, 0, 0, 29, true}}},
      {false, {0x40000100}, std::nullopt},  // drop-frame counting leaves it out
      {false, {0x40001000}, {{0, 10, 0, 0, true}}},
      {false, {0x0A000000, 0x000A0000, 0x00006000, 0x00000024, 0x00600000}, std::nullopt},
      {false, {0xffffffff, 0xffffffff, 0x01010101}, {{1, 1, 1, 1, false}}},
      {false, {}, std::nullopt},
  };
  for (const auto& [is625, copies, code] : cases) {
    Bytes frame(is625 ? 144000 : 120000, 0xff);
    const std::uint8_t header[] = {0x1f, 0x07, 0x00, std::uint8_t(is625 ? 0xbf : 0x3f)};
    std::copy(std::begin(header), std::end(header), frame.begin());
    for (std::size_t i = 0; i < copies.size(); ++i) {
      std::uint8_t* const pack = &frame[(i + 3) * 12000 + 80 * (1 + i % 2) + 6 + 8 * i];
      pack[0] = 0x13;
      for (int byte = 0; byte < 4; ++byte)
        pack[1 + byte] = static_cast<std::uint8_t>(copies[i] >> (24 - 8 * byte));
    }
    EXPECT_EQ(gstreamer::ReadDvTimeCode(frame), code) << testing::PrintToString(copies);
  }
}

}  // namespace
