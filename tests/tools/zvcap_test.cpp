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
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

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
           "camcorder:name=Tape,start=01:00:59:28,drop-frame=yes,rate=30000/1001,size=720x480",
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
      {"capture Silent", 7, "\"Silent\" delivers nothing"},
  };
  for (const auto& [arguments, code, message] : cases) {
    EXPECT_EQ(Zvcap(arguments).code, code) << arguments << error_;
    EXPECT_THAT(error_, HasSubstr(message));
  }
  EXPECT_EQ(fs::file_size(File("file")), 4u);
}

TEST_F(ZvcapTest, ListsTheDevices) {
  const json all = json::parse(Zvcap("devices --json").output);
  EXPECT_EQ(all.size(), 9u);
  EXPECT_EQ(json::parse(Zvcap("devices --json --type video").output), all);
  const json muxed = json::parse(Zvcap("devices --json --type muxed").output);
  ASSERT_EQ(muxed.size(), 2u);
  EXPECT_EQ(muxed[1].at("name"), "Tape");
  EXPECT_EQ(muxed[1].at("media"), "muxed");
  EXPECT_EQ(muxed[1].at("connected"), true);
  EXPECT_THAT(Zvcap("devices").output, HasSubstr("\nSmall                video  yes\n"));
}

TEST_F(ZvcapTest, ReportsWhatCame) {
  const json report = Capture("tape --frames 10 --movie $F/a.mov");
  EXPECT_EQ(report.at("frames"), 10);
  EXPECT_EQ(report.at("width"), 720);
  EXPECT_EQ(report.at("height"), 480);
  EXPECT_GE(report.at("bytesPerRow"), 1440);
  EXPECT_EQ(report.at("pixelFormat"), "2vuy");
  EXPECT_GT(report.at("framesPerSecond"), 5);
  // The numbers ;00 and ;01 are left out at the turn of the minute. Where the machine is too busy
  // for every frame, the last one is so much later.
  EXPECT_EQ(report.at("firstTimeCode"), "01:00:59;28");
  char last[32];
  std::snprintf(last, sizeof last, "01:01:00;%02d", 9 + report.at("dropped").get<int>());
  EXPECT_EQ(report.at("lastTimeCode"), last);
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
