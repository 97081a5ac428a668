// SPDX-License-Identifier: MIT
//
// The program as its user meets it: command lines in, exit codes, messages and files out. The
// devices are simulated.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>
#include <pty.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/support/tone.h"
#include "tools/picture.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

namespace {

struct Outcome {
  int code;
  std::string output;
};

Outcome Execute(const std::string& command) {
  Outcome outcome{};
  FILE* pipe = popen(command.c_str(), "re");
  for (int c; (c = std::fgetc(pipe)) != EOF;)
    outcome.output += static_cast<char>(c);
  outcome.code = WEXITSTATUS(pclose(pipe));
  return outcome;
}

/// Seconds that the movie plays, as a program of others finds out; below 0 without that program.
double MovieSeconds(const std::string& file) {
  const Outcome found = Execute("gst-discoverer-1.0 '" + file + "' 2>&1");
  double hours = 0, minutes = 0, seconds = 0;
  std::sscanf(
      found.output.substr(std::min(found.output.size(), found.output.find("Duration:"))).c_str(),
      "Duration: %lf:%lf:%lf", &hours, &minutes, &seconds);
  return found.code == 127 ? -1 : hours * 3600 + minutes * 60 + seconds;
}

Picture ReadPng(const std::string& file) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, file.c_str()) == 0) return {};
  image.format = PNG_FORMAT_RGB;
  Picture picture(image.width, image.height);
  png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr);
  return picture;
}

/// One channel of a file, as a program of others reads it; nothing without that program.
std::vector<float> ReadSound(const std::string& file, int channel) {
  const Outcome raw = Execute("ffmpeg -v error -i '" + file + "' -af 'pan=mono|c0=c" +
                              std::to_string(channel) + "' -c:a pcm_f32le -f f32le - 2>/dev/null");
  std::vector<float> samples(raw.output.size() / sizeof(float));
  std::memcpy(samples.data(), raw.output.data(), samples.size() * sizeof(float));
  return samples;
}

/// Frames of a drop-frame tape from 01:01:00;02 on, within a minute before and after it.
int FromTheMinute(const std::string& timeCode) {
  int hours = 0, minutes = 0, seconds = 0, frames = 0;
  std::sscanf(timeCode.c_str(), "%d:%d:%d;%d", &hours, &minutes, &seconds, &frames);
  return minutes == 0 ? (seconds - 60) * 30 + frames : seconds * 30 + frames - 2;
}

/// A folder of its own for each test.
class ZvcapTest : public testing::Test {
 protected:
  ZvcapTest() {
    folder_ = mkdtemp((fs::temp_directory_path() / "zvcap-test-XXXXXX").string().data());
    setenv("F", folder_.c_str(), 1);  // for command lines
    setenv("ZORVEX_DEVICES", "simulated", 1);
    setenv("ZORVEX_SIMULATED",
           "camera:name=Small,size=320x240,format=yuvs;camera:name=Busy,busy=yes;"
           "camera:name=Refused,open=refuse;camera:name=Gone,unplug-after=20;"
           "camera:name=Stalled,stall-after=20;camera:name=Silent,stall-after=0;"
           "camcorder:name=Tape,start=01:00:59:10,drop-frame=yes,rate=30000/1001,size=720x480;"
           "camcorder:name=Playing,transport=play,start=02:03:04:05;camcorder:name=Deaf,avc=silent;"
           "microphone:name=Used,busy=yes;microphone:name=Mute,stall-after=0",
           1);
  }
  ~ZvcapTest() override {
    umount2(folder_.c_str(), MNT_DETACH);
    fs::remove_all(folder_);
  }

  std::string File(const std::string& name) const { return folder_ + "/" + name; }

  Outcome Zvcap(const std::string& arguments) {
    const Outcome outcome = Execute(ZVCAP " " + arguments + " 2>$F.error");
    std::ifstream file(folder_ + ".error");
    error_.assign(std::istreambuf_iterator<char>(file), {});
    fs::remove(folder_ + ".error");
    return outcome;
  }

  /// Runs a capture, and gives its report.
  json Capture(const std::string& arguments, int code = 0) {
    const Outcome outcome = Zvcap("capture --json " + arguments);
    EXPECT_EQ(outcome.code, code) << error_;
    EXPECT_EQ(error_.empty(), code == 0) << error_;
    return json::parse(outcome.output, nullptr, false);
  }

  std::string folder_;
  std::string error_;
};

TEST_F(ZvcapTest, RefusesWithACodeAndAMessageThatHelps) {
  std::ofstream(File("file")) << "kept";
  fs::create_directory(File("folder"));
  const struct {
    const char* arguments;
    int code;
    const char* message;
  } cases[] = {
      {"", 2, "subcommand is required"},
      {"devices --type film", 2, "any, audio, video or muxed"},
      {"capture", 2, "NAME is required"},
      {"capture Small --seconds 1 --frames 1", 2, "excludes"},
      {"capture Small --seconds 0", 2, "more than 0"},
      {"capture Small --seconds 1e99", 2, "more than 0"},
      {"capture Small --frames 0", 2, "1 or more"},
      {"capture Small --frames 99999999999999999999", 2, "1 or more"},
      {"capture Small --size 640", 2, "no size"},
      {"capture Small --size 640x480x", 2, "no size"},
      {"capture Small --pixel-format 4294967296", 2, "no pixel format"},
      {"capture Small --movie ''", 2, "needs the name of a file"},
      {"capture Small --movie a --snapshot ./a", 2, "different files"},
      {"capture Small --movie a --wav ./a", 2, "different files"},
      {"capture Small --audio 48000:2", 2, "no format such as 48000:2:2"},
      {"capture Small --audio 192000:8:4", 2, "more sound than can be converted"},
      {"transport Tape pause", 2, "shuttle-reverse or"},
      {"formats smal", 3, "Did you mean \"Small\"?"},
      {"capture Small --audio-device Mut", 3, "no sound device \"Mut\". Did you mean \"Mute\"?"},
      {"capture Small --audio-device Used", 4, "\"Used\" is used by another application"},
      {"capture smal", 3, "Did you mean \"Small\"?"},
      {"capture 'Simulated Camcoder'", 3, "Did you mean \"Simulated Camcorder\" or"},
      {"capture 'nothing like it'", 3, "\"Busy\", "},
      {"capture Busy", 4, "\"Busy\" is used by another application"},
      {"capture Refused", 5, "\"Refused\" cannot be opened"},
      {"capture Small --pixel-format '!!!!'", 5, "does not begin to deliver as !!!!"},
      {"capture Small --movie $F/no/a.mov", 6, "there is no folder"},
      {"capture Small --movie $F/file/a.mov", 6, "is no folder"},
      {"capture Small --movie $F/folder", 6, "it is a folder"},
      {"capture Small --movie /dev/null", 6, "no ordinary file"},
      {"capture Small --snapshot /proc/a.png", 6, "cannot write the picture"},
      {"capture Small --wav $F/no/a.wav", 6, "cannot write the sound"},
      {"capture Silent", 7, "\"Silent\" delivers nothing"},
      {"capture Small --audio-device Mute --seconds 2", 7, "\"Mute\" delivers no sound"},
      {"capture Tape --no-transport", 7, "has to be playing"},
      {"timecode Tape --no-transport", 7, "the tape of \"Tape\" stands still"},
      {"timecode Small", 8, "no time code"},
      {"timecode Mute", 8, "no pictures"},
      {"transport Small", 8, "no tape transport"},
      {"transport Deaf play", 8, "does not answer"},
      {"capture Mute --frames 3", 8, "no pictures"},
      {"capture Small --wav $F/a.wav", 8, "no sound. Name a sound device"},
      {"capture Tape --audio-device Mute", 8, "sends sound itself"},
  };
  for (const auto& [arguments, code, message] : cases) {
    EXPECT_EQ(Zvcap(arguments).code, code) << arguments << error_;
    EXPECT_THAT(error_, HasSubstr(message));
  }
  EXPECT_EQ(fs::file_size(File("file")), 4u);
}

TEST_F(ZvcapTest, ListsTheDevices) {
  const json all = json::parse(Zvcap("devices --json").output);
  EXPECT_EQ(all.size(), 14u);
  EXPECT_EQ(json::parse(Zvcap("devices --json --type video").output).size(), 11u);
  EXPECT_EQ(json::parse(Zvcap("devices --json --type muxed").output).size(), 4u);
  const json sound = json::parse(Zvcap("devices --json --type audio").output);
  ASSERT_EQ(sound.size(), 7u);
  EXPECT_EQ(sound.back(), json({{"name", "Mute"}, {"media", "audio"}, {"connected", true}}));
  EXPECT_THAT(Zvcap("devices").output, HasSubstr("\nSmall                 video  yes\n"));
}

TEST_F(ZvcapTest, ListsFormats) {
  const json camera = json::parse(Zvcap("formats Small --json").output);
  EXPECT_EQ(camera.at("audio"), json::array());
  EXPECT_EQ(camera.at("video").at(0),
            json({{"pixelFormat", "yuvs"}, {"width", 320}, {"height", 240}}));
  EXPECT_EQ(Zvcap("formats Mute").output, "MEDIA  FORMAT  SIZE\naudio  lpcm\n");
  const json tape = json::parse(Zvcap("formats Tape --json").output);
  EXPECT_EQ(tape.at("audio"), json({"lpcm"}));
  EXPECT_EQ(tape.at("video").at(0).at("width"), 720);
}

TEST_F(ZvcapTest, DrivesTapes) {
  for (const std::string mode :
       {"stop", "play", "rewind", "forward", "shuttle-reverse", "shuttle-forward"}) {
    EXPECT_EQ(Zvcap("transport Playing " + mode).output, mode + "\n") << error_;
  }
  EXPECT_EQ(Zvcap("transport Playing status").output, "stop\n");
  EXPECT_THAT(Zvcap("timecode Playing").output, testing::StartsWith("02:03:04:"));
  EXPECT_THAT(Zvcap("timecode Tape").output, testing::StartsWith("01:00:59;1"));
}

TEST_F(ZvcapTest, CapturesSound) {
  const struct {
    const char* arguments;
    json format;  ///< rate, channels, bytes, format
    double seconds;
  } cases[] = {
      {"'Simulated Microphone' --audio 0:0:0", {44100, 2, 2, "integer"}, 0.8},
      {"'Simulated Microphone' --audio 32000:2:1", {32000, 2, 1, "integer"}, 0.8},
      {"Small --audio-device 'Simulated Microphone' --audio 96000:2:3",
       {96000, 2, 3, "integer"},
       0.8},
      {"Small --audio-device 'simulated microphone' --audio 48000:2:0:float",
       {48000, 2, 4, "float"},
       0.8},
  };
  for (const auto& [arguments, format, seconds] : cases) {
    SCOPED_TRACE(arguments);
    const json report = Capture(std::string(arguments) + " --seconds 0.8 --wav $F/a.wav");
    const json sound = report.at("sound");
    const double rate = sound.at("rate");
    EXPECT_EQ(json({rate, sound["channels"], sound["bytes"], sound["format"]}), format);
    EXPECT_NEAR(sound.at("frames").get<double>() / rate, 0.8, report["frames"] == 0 ? 0 : 0.2);
    for (const int channel : {0, 1}) {
      EXPECT_NEAR(sound.at("peak").at(channel), -6, 0.2);
      const auto samples = ReadSound(File("a.wav"), channel);
      if (samples.empty()) GTEST_SKIP() << "needs ffmpeg";
      EXPECT_EQ(samples.size(), sound.at("frames"));
      EXPECT_NEAR(LevelOf(samples, channel == 0 ? 1000 : 440, rate), -6, 0.5);
    }
  }
}

TEST_F(ZvcapTest, AKilledCaptureLeavesSound) {
  const pid_t program = fork();
  if (program == 0) {
    execl(ZVCAP, ZVCAP, "capture", "Simulated Microphone", "--wav", File("a.wav").c_str(), nullptr);
    _exit(127);
  }
  std::error_code none;
  while (fs::file_size(File("a.wav"), none) == std::uintmax_t(-1) ||
         fs::file_size(File("a.wav"), none) < 300'000) {
    usleep(10'000);
  }
  kill(program, SIGKILL);
  waitpid(program, nullptr, 0);
  const auto samples = ReadSound(File("a.wav"), 0);
  EXPECT_TRUE(samples.empty() || samples.size() > 60'000) << samples.size();
}

TEST_F(ZvcapTest, ReportsWhatCame) {
  const json report = Capture("tape --frames 25 --movie $F/a.mov");
  EXPECT_EQ(report.at("frames"), 25);
  EXPECT_EQ(report.at("width"), 720);
  EXPECT_EQ(report.at("height"), 480);
  EXPECT_GE(report.at("bytesPerRow"), 1440);
  EXPECT_EQ(report.at("pixelFormat"), "2vuy");
  EXPECT_GT(report.at("framesPerSecond"), 5);
  EXPECT_TRUE(report.at("sound").is_null());
  // The numbers ;00 and ;01 are left out at the turn of the minute. Where the machine is too busy
  // for every frame, the last one is so much later.
  const int first = FromTheMinute(report.at("firstTimeCode"));
  EXPECT_NEAR(first, -20, 5);
  EXPECT_EQ(FromTheMinute(report.at("lastTimeCode")) - first, 24 + report.at("dropped").get<int>());
  EXPECT_EQ(report.at("movie"), File("a.mov"));

  const json other =
      Capture("Small --seconds 0.9 --size 160x120 --snapshot $F/s.png --contact-sheet $F/c.png");
  EXPECT_NEAR(other.at("frames"), 24, 8);
  EXPECT_TRUE(other.at("firstTimeCode").is_null());
  EXPECT_TRUE(other.at("movie").is_null());
  const Picture snapshot = ReadPng(File("s.png")), sheet = ReadPng(File("c.png"));
  EXPECT_EQ(snapshot.width, 160u);
  EXPECT_EQ(snapshot.height, 120u);
  EXPECT_GE(sheet.width, 4 * 160u);
  EXPECT_GE(sheet.height, 3 * 120u);
}

TEST_F(ZvcapTest, EveryPixelFormatGivesTheSamePicture) {
  Picture first;
  for (const std::string format :
       {"BGRA", "2vuy", "yuvs", "y420", "420v", "420f", "24", "32", "RGBA", "ABGR", "24BG"}) {
    const json report = Capture("Small --frames 1 --snapshot $F/a.png --pixel-format " + format);
    EXPECT_EQ(report.at("pixelFormat"), format);
    const Picture picture = ReadPng(File("a.png"));
    if (first.rgb.empty()) first = picture;
    ASSERT_EQ(picture.rgb.size(), 320u * 240 * 3) << format;
    double difference = 0;
    for (std::size_t i = 0; i < picture.rgb.size(); ++i)
      difference += std::abs(picture.rgb[i] - first.rgb[i]);
    EXPECT_LT(difference / static_cast<double>(first.rgb.size()), 5) << format;
  }
}

TEST_F(ZvcapTest, ALostDeviceEndsTheCaptureAndKeepsWhatCame) {
  for (const std::string name : {"Gone", "Stalled"}) {
    const json report = Capture(name + " --seconds 3 --movie $F/a.mov", 7);
    EXPECT_THAT(error_, HasSubstr("\"" + name + "\" "));
    EXPECT_THAT(error_, HasSubstr("the capture ends early"));
    EXPECT_NEAR(report.at("frames"), 15, 5);
    const double seconds = MovieSeconds(File("a.mov"));
    EXPECT_TRUE(seconds < 0 || std::abs(seconds - 0.67) < 0.4) << seconds;
  }
}

TEST_F(ZvcapTest, CtrlCFinishesTheMovie) {
  int terminal = -1;
  const pid_t program = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (program == 0) {
    signal(SIGINT, SIG_DFL);  // the tests may themselves run where Ctrl-C is ignored
    execl(ZVCAP, ZVCAP, "capture", "Small", "--movie", File("a.mov").c_str(), nullptr);
    _exit(127);
  }
  std::string shown;
  bool pressed = false;
  for (char c; read(terminal, &c, 1) == 1;) {  // a terminal's end is an error
    shown += c;
    if (pressed || shown.find("frames  1.") == std::string::npos) continue;
    pressed = write(terminal, "\3", 1) == 1;
  }
  int status = 0;
  waitpid(program, &status, 0);
  close(terminal);
  EXPECT_EQ(WEXITSTATUS(status), 130) << shown;
  EXPECT_THAT(shown, HasSubstr("zvcap: interrupted"));
  const double seconds = MovieSeconds(File("a.mov"));
  EXPECT_TRUE(seconds < 0 || (seconds > 0.8 && seconds < 10)) << seconds;
}

TEST_F(ZvcapTest, SignalsDoWhatTheyDoToAnyCommand) {
  // It starts when the reader of its output has gone.
  const std::string unread =
      "set -o pipefail; { read x <$F/go; exec " ZVCAP " devices; } | { exec <&-; echo >$F/go; }'";
  Execute("mkfifo $F/go");
  EXPECT_EQ(Execute("env --default-signal=PIPE bash -c '" + unread).code, 128 + SIGPIPE);
  EXPECT_NE(Execute("bash -c 'trap \"\" PIPE; " + unread).code, 128 + SIGPIPE);
  const Outcome inBackground =
      Execute("trap '' INT; " ZVCAP
              " capture Small --frames 20 >/dev/null & sleep 0.4; kill -INT $!; wait $!");
  EXPECT_EQ(inBackground.code, 0) << "started to ignore Ctrl-C";
}

TEST_F(ZvcapTest, AFullDiskEndsTheMovie) {
  if (mount("none", folder_.c_str(), "tmpfs", 0, "size=18m") != 0) {
    GTEST_SKIP() << "needs the right to mount a small disk";
  }
  Capture("'Simulated Camera' --seconds 60 --movie $F/a.mov", 6);
  EXPECT_THAT(error_, HasSubstr("the disk is full"));
  EXPECT_THAT(error_, HasSubstr("ends early"));
  EXPECT_NE(MovieSeconds(File("a.mov")), 0);
}

}  // namespace
