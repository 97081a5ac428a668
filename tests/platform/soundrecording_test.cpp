// SPDX-License-Identifier: MIT
//
// The sound tracks of movie files.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <span>
#include <string>
#include <thread>

#include "tests/support/foldertest.h"
#include "tests/support/framecounter.h"
#include "tests/support/movie.h"
#include "tests/support/soundcollector.h"
#include "tests/support/testsource.h"
#include "tests/support/tone.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const std::string kEnd = " ! identity silent=true";

std::string Tone(const std::string& more, const std::string& caps) {
  return "audiotestsrc is-live=true freq=997 volume=0.5 samplesperbuffer=441 " + more +
         " ! audio/x-raw," + caps + kEnd;
}
std::string Pictures(const std::string& more = {}) {
  return "videotestsrc is-live=true " + more +
         " ! video/x-raw,format=UYVY,width=64,height=48,framerate=25/1" + kEnd;
}
const std::string kStereo = "format=S16LE,rate=48000,channels=2";

class SoundRecording : public FolderTest {
 protected:
  std::string Path(const std::string& name) const { return root_ / name; }
  /// Records the devices of a platform for a while, with the microphone where one is named.
  void Record(const char* device, const char* microphone, const std::string& path,
              std::chrono::milliseconds time) {
    const unsigned long handle = ZRVXDeviceGet(device, ZRVXDeviceMediaTypeAny);
    EXPECT_TRUE(ZRVXDeviceOpen(handle));
    FrameCounter frames;
    SoundCollector sound;
    const long data = reinterpret_cast<long>(&frames);
    EXPECT_TRUE(microphone ? ZRVXDeviceStartCaptureWithAudioDevice(
                                 handle, microphone, FrameCounter::OnFrame, data, 0, 0, 0,
                                 SoundCollector::OnSound, sound.Data(), 0, 0, 0, 0, path.c_str())
                           : ZRVXDeviceStartCapture(handle, FrameCounter::OnFrame, data, 0, 0, 0,
                                                    nullptr, 0, 0, 0, 0, 0, path.c_str()));
    std::this_thread::sleep_for(time);
    StopAndRelease(handle);
  }
};

TEST_F(SoundRecording, EveryContainerHoldsPicturesAndSound) {
  const struct {
    const char *name, *caps, *codec;
  } table[] = {
      {"a.mov", "format=S16LE,rate=48000,channels=2", "audio/x-raw"},
      {"b.mov", "format=F32LE,rate=96000,channels=6,channel-mask=(bitmask)0x3f", "audio/x-raw"},
      {"c.mp4", "format=S16LE,rate=44100,channels=1", "audio/mpeg"},
      {"d.mp4", "format=S24LE,rate=32000,channels=4,channel-mask=(bitmask)0", "audio/mpeg"},
      {"e.mkv", "format=S32BE,rate=48000,channels=2", "audio/x-raw"},
      {"f.avi", "format=U8,rate=22050,channels=1", "audio/x-raw"},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(row.name);
    const TestSourcePlatform platform({TestSourceDevice::Muxed(Pictures(), Tone("", row.caps))});
    Record("Test Source", nullptr, Path(row.name), 1600ms);
    const Movie movie = PlayMovie(Path(row.name));
    const MovieSoundTrack sound = PlayMovieSound(Path(row.name));
    EXPECT_EQ(sound.codec, row.codec);
    EXPECT_GE(movie.seconds.size(), 30u);
    EXPECT_NEAR(sound.Duration(), movie.Duration(), 0.1);
    EXPECT_NEAR(sound.begin, 0, 0.03);
    ASSERT_GT(sound.Duration(), 1);
    const auto middle =
        std::span(sound.samples).subspan(sound.samples.size() / 4, sound.samples.size() / 2);
    EXPECT_NEAR(FrequencyOf(middle, 997, sound.rate), 997, 0.5);
    EXPECT_NEAR(LevelOf(middle, 997, sound.rate), -6.02, 0.5);
  }
}

/// One stream that ends or never begins is no reason to lose the other one.
TEST_F(SoundRecording, WhatIsMissingIsMadeUpFor) {
  const struct {
    const char* what;
    std::string pictures, sound;
    double soundBegins, soundEnds;  ///< between them the tone is heard, after it silence
    double pictureSeconds;
  } table[] = {
      {"sound ends", Pictures(), Tone("num-buffers=109", kStereo), 0.1, 0.9, 7.5},
      {"pictures end", Pictures("num-buffers=50"), Tone("", kStereo), 0.1, 7.3, 1.96},
      {"no sound", Pictures(), "audiotestsrc ! nothing", 0, 0, 7.5},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(row.what);
    const TestSourcePlatform platform(
        {MakeRetained<TestSourceDevice>(row.pictures, ""),
         MakeRetained<TestSourceDevice>(row.sound, "", QTMediaType::QTMediaTypeSound, "Mic")});
    const std::string path = Path(std::string(row.what) + ".mov");
    Record("Test Source", "Mic", path, 7500ms);
    EXPECT_NEAR(PlayMovie(path).Duration(), row.pictureSeconds, 0.4);
    const MovieSoundTrack sound = PlayMovieSound(path);
    if (row.soundEnds == 0) {
      EXPECT_EQ(sound.samples.size(), 0u);  // a device that does not start has no track
      continue;
    }
    ASSERT_NEAR(sound.Duration(), 7.5, 0.4);
    const auto part = [&](double from, double to) {
      const auto first = static_cast<std::size_t>(from * sound.rate);
      return std::span(sound.samples)
          .subspan(first, static_cast<std::size_t>(to * sound.rate) - first);
    };
    EXPECT_NEAR(LevelOf(part(row.soundBegins, row.soundEnds), 997, sound.rate), -6.02, 0.2);
    if (row.soundEnds < 7) {
      EXPECT_LT(LevelOf(part(row.soundEnds + 0.4, 7), 997, sound.rate), -90);
    }
  }
}

/// The tape's sound has a short tone where its time code begins a second, from the first sample of
/// that picture's time on. Expects that of every second; gives how many there are.
int SecondsInStep(const Movie& movie, const MovieSoundTrack& sound) {
  int seconds = 0;
  const auto span = static_cast<std::size_t>(sound.rate / 100);
  const auto level = [&](std::size_t from) {
    return LevelOf(std::span(sound.samples).subspan(from, span), 1000, sound.rate);
  };
  for (std::size_t i = 0; i < movie.burntIn.size(); ++i) {
    if (!movie.burntIn[i].ends_with(":00")) continue;
    const auto at = static_cast<std::size_t>((movie.seconds[i] - sound.begin) * sound.rate + 0.5);
    if (at < 2 * span || at + 2 * span >= sound.samples.size()) continue;
    ++seconds;
    EXPECT_GT(level(at + 48), -14) << movie.burntIn[i];
    EXPECT_LT(level(at - span - 48), -25) << movie.burntIn[i];
  }
  return seconds;
}

constexpr const char* kDeck = "camcorder:name=Deck,size=320x240,rate=25,transport=play,spin-up=0";

TEST_F(SoundRecording, SoundAndPicturesOfATapeAreInStep) {
  const SimulatedPlatform platform(kDeck);
  for (const char* name : {"tape.mov", "tape.mkv", "tape.avi"}) {
    SCOPED_TRACE(name);
    Record("Deck", nullptr, Path(name), 3200ms);
    EXPECT_GE(SecondsInStep(PlayMovie(Path(name)), PlayMovieSound(Path(name))), 2);
  }
}

TEST_F(SoundRecording, ATapeThatPausesStaysInOneMovieAndInStep) {
  const SimulatedPlatform platform(kDeck);
  const unsigned long handle = ZRVXDeviceGet("Deck", ZRVXDeviceMediaTypeAny);
  const std::jthread transport([handle] {
    std::this_thread::sleep_for(1500ms);
    ZRVXDeviceSetTransportMode(handle, ZRVXDeviceTransportModeStop);
    std::this_thread::sleep_for(5500ms);
    ZRVXDeviceSetTransportMode(handle, ZRVXDeviceTransportModePlay);
  });
  Record("Deck", nullptr, Path("tape.mov"), 9s);
  const Movie movie = PlayMovie(Path("tape.mov"));
  EXPECT_GE(movie.seconds.size(), 70u);
  EXPECT_NEAR(movie.Duration(), 9, 0.5);
  EXPECT_GE(SecondsInStep(movie, PlayMovieSound(Path("tape.mov"))), 2);
  EXPECT_FALSE(fs::exists(Path("tape 2.mov")));
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

TEST_F(SoundRecording, AMicrophoneAloneMakesAMovieOfSound) {
  const TestSourcePlatform platform({MakeRetained<TestSourceDevice>(
      Tone("", kStereo), "", QTMediaType::QTMediaTypeSound, "Mic")});
  Record("Mic", nullptr, Path("alone.mov"), 1000ms);
  const MovieSoundTrack sound = PlayMovieSound(Path("alone.mov"));
  EXPECT_NEAR(sound.Duration(), 1, 0.3);
  EXPECT_NEAR(LevelOf(sound.samples, 997, sound.rate), -6.02, 0.2);
}

}  // namespace
