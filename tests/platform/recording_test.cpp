// SPDX-License-Identifier: MIT
//
// Movie files of simulated devices, which burn a number or a time code into each picture: what is
// played back tells what was recorded.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "platform/gstreamer/movierecorder.h"
#include "tests/support/foldertest.h"
#include "tests/support/framecounter.h"
#include "tests/support/movie.h"
#include "tests/support/testsource.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class Recording : public FolderTest {
 protected:
  std::string Path(const std::string& name) const { return root_ / name; }
  unsigned long StartSmall(const std::string& movie) {
    const unsigned long handle = OpenDevice("Small");
    EXPECT_TRUE(Start(handle, counter_, movie));
    return handle;
  }

  FrameCounter counter_;
};

/// Each picture shows the number after the one before.
void ExpectConsecutive(const Movie& movie) {
  for (std::size_t i = 1; i < movie.burntIn.size(); ++i) {
    ASSERT_EQ(std::stoi(movie.burntIn[i - 1]) + 1, std::stoi(movie.burntIn[i])) << "picture " << i;
  }
}

constexpr const char* kSmall = "camera:name=Small,size=320x240,rate=30";

TEST_F(Recording, EveryContainerHoldsEveryFrame) {
  const SimulatedPlatform platform(kSmall);
  const struct {
    const char *name, *container, *codec;
  } table[] = {
      {"a.mov", "video/quicktime", "image/jpeg"},
      {"b.mp4", "video/quicktime", "video/x-h264"},
      {"c.mkv", "video/x-matroska", "image/jpeg"},
      {"d.AVI", "video/x-msvideo", "image/jpeg"},
      {"no extension", "video/quicktime", "image/jpeg"},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(row.name);
    counter_.frames = 0;
    const unsigned long handle = StartSmall(Path(row.name));
    EXPECT_TRUE(counter_.WaitForFrames(20));
    StopAndRelease(handle);
    const Movie movie = PlayMovie(Path(row.name));
    EXPECT_EQ(row.container, movie.container);
    EXPECT_EQ(row.codec, movie.codec);
    EXPECT_EQ(320u, movie.width);
    EXPECT_EQ(240u, movie.height);
    ASSERT_GE(movie.burntIn.size(), 19u);
    EXPECT_EQ("000000", movie.burntIn.front());
    ExpectConsecutive(movie);
    EXPECT_NEAR(static_cast<double>(movie.seconds.size() - 1) / 30, movie.Duration(), 0.02);
  }
}

/// The first time code in a file's time-code track, as another reader of such files finds it.
std::string TimeCodeTrack(const std::string& path) {
  const std::string command =
      "ffprobe -v error -select_streams d -show_entries "
      "stream_tags=timecode -of csv=p=0 '" +
      path + "'";
  FILE* output = popen(command.c_str(), "r");
  char line[64] = {};
  const bool isRead = fgets(line, sizeof line, output) != nullptr;
  pclose(output);
  return isRead ? std::string(line).substr(0, 11) : "none";
}

TEST_F(Recording, CarriesTheTimeCodeOfATape) {
  const SimulatedPlatform platform(
      "camcorder:name=Deck,size=320x240,rate=25,start=09:59:59:20,transport=play");
  for (const char* name : {"tape.mov", "tape.mp4"}) {
    const unsigned long handle = OpenDevice("Deck");
    counter_.frames = 0;
    ASSERT_TRUE(Start(handle, counter_, Path(name)));
    EXPECT_TRUE(counter_.WaitForFrames(10));
    StopAndRelease(handle);
    const Movie movie = PlayMovie(Path(name));
    ASSERT_FALSE(movie.burntIn.empty());
    EXPECT_EQ(movie.burntIn.front(), TimeCodeTrack(Path(name))) << name;
  }
}

TEST_F(Recording, ASlowCallbackCostsTheRecordingNothing) {
  const SimulatedPlatform platform(kSmall);
  counter_.inCallBack = [](auto*) { std::this_thread::sleep_for(200ms); };
  const unsigned long handle = StartSmall(Path("slow.mov"));
  EXPECT_TRUE(counter_.WaitForFrames(6));
  StopAndRelease(handle);
  const Movie movie = PlayMovie(Path("slow.mov"));
  EXPECT_GE(movie.burntIn.size(), 30u);
  ExpectConsecutive(movie);
}

TEST_F(Recording, JoinsACaptureThatRuns) {
  const SimulatedPlatform platform(kSmall);
  const unsigned long handle = StartSmall("");
  EXPECT_TRUE(counter_.WaitForFrames(3));
  ASSERT_TRUE(Start(handle, counter_, Path("late.mov")));
  EXPECT_TRUE(counter_.WaitForFrames(counter_.Frames() + 10));
  ASSERT_TRUE(ZRVXDeviceStopRecording(handle));
  EXPECT_TRUE(ZRVXDeviceIsCapturing(handle));
  const Movie movie = PlayMovie(Path("late.mov"));
  EXPECT_GE(movie.burntIn.size(), 9u);
  EXPECT_EQ(0, movie.seconds.front());
  ExpectConsecutive(movie);
  // It took the callback away as well; another one joins.
  FrameCounter other;
  EXPECT_TRUE(Start(handle, other) && other.WaitForFrames(2));
  StopAndRelease(handle);
}

TEST_F(Recording, FailsWhereTheFileCannotBeWritten) {
  const SimulatedPlatform platform(kSmall);
  fs::create_directory(Path("folder"));
  ASSERT_EQ(0, mkfifo(Path("pipe.mov").c_str(), 0600));
  for (const std::string& path :
       {Path("nowhere/a.mov"), Path("folder"), Path("pipe.mov"), std::string("/dev/full"),
        std::string("/proc/a.mov"), Path("not-a-deck.dv"), Path(std::string(300, 'n'))}) {
    SCOPED_TRACE(path);
    const unsigned long handle = OpenDevice("Small");
    EXPECT_FALSE(Start(handle, counter_, path));
    EXPECT_FALSE(ZRVXDeviceIsCapturing(handle));
    // Only a capture that ran takes the failed recording away.
    EXPECT_TRUE(Start(handle, counter_));
    StopAndRelease(handle);
  }
}

TEST_F(Recording, TakesNoFileThatAnotherRecordingWrites) {
  const SimulatedPlatform platform("camera:name=Small,size=320x240;camera:name=Other,size=320x240");
  const unsigned long small = StartSmall(Path("one.mov")), other = OpenDevice("Other");
  EXPECT_FALSE(Start(other, counter_, Path("one.mov")));
  EXPECT_TRUE(counter_.WaitForFrames(5));
  StopAndRelease(small);
  StopAndRelease(other);
  EXPECT_GE(PlayMovie(Path("one.mov")).burntIn.size(), 4u);
}

TEST_F(Recording, GoesOnInAFileOfItsOwnWhenTheStreamChanges) {
  gstreamer::Initialise();
  std::ofstream(Path("take 2.mov")) << "not to be lost";
  const auto recorder = gstreamer::MovieRecorder::Create(Path("take.mov"));
  ASSERT_TRUE(recorder);
  for (const int width : {320, 640}) {
    const GstPointer<GstCaps> caps(gst_caps_new_simple(
        "video/x-raw", "format", G_TYPE_STRING, "UYVY", "width", G_TYPE_INT, width, "height",
        G_TYPE_INT, 240, "framerate", GST_TYPE_FRACTION, 30, 1, nullptr));
    for (unsigned i = 0; i < 3; ++i) {
      const GstPointer<GstBuffer> frame(
          gst_buffer_new_allocate(nullptr, static_cast<gsize>(width) * 480, nullptr));
      GST_BUFFER_PTS(frame.get()) = i * GST_SECOND / 30;
      recorder->Push(gstreamer::MovieRecorder::Track::Pictures, frame.get(), caps.get(),
                     GST_BUFFER_PTS(frame.get()));
    }
  }
  recorder->Finish(10s);
  EXPECT_EQ(640u, PlayMovie(Path("take 3.mov")).width);
  EXPECT_EQ(14u, fs::file_size(Path("take 2.mov")));
}

TEST_F(Recording, ADiskThatIsFullEndsTheMovieAndNotTheCapture) {
  const SimulatedPlatform platform(kSmall);
  // What a full disk does to the process: writing fails from some size on.
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{6u << 20, RLIM_INFINITY};
  ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
  const unsigned long handle = StartSmall(Path("full.mov"));
  EXPECT_TRUE(counter_.WaitForFrames(150));
  EXPECT_TRUE(ZRVXDeviceIsCapturing(handle));
  StopAndRelease(handle);
  const Movie movie = PlayMovie(Path("full.mov"));
  EXPECT_GE(movie.burntIn.size(), 15u) << fs::file_size(Path("full.mov"));
  ExpectConsecutive(movie);
}

TEST_F(Recording, ARecordingWithoutAPictureLeavesNoFile) {
  const SimulatedPlatform platform("camera:name=Small,size=320x240,stall-after=0");
  StopAndRelease(StartSmall(Path("empty.mov")));
  EXPECT_FALSE(fs::exists(Path("empty.mov")));
}

/// The process that is killed below: records until then, and tells on its standard output when five
/// seconds are recorded.
TEST_F(Recording, DISABLED_UntilKilled) {
  const SimulatedPlatform platform(kSmall);
  StartSmall(std::getenv("ZORVEX_TEST_MOVIE"));
  ASSERT_TRUE(counter_.WaitForFrames(150));
  ASSERT_EQ(1, write(STDERR_FILENO, "x", 1));
  for (;;)
    pause();
}

/// Runs the test above in a process of its own; the result is its standard error stream.
pid_t RecordUntilKilled(const std::string& path, int& output) {
  int ends[2];
  EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDERR_FILENO);
    setenv("ZORVEX_TEST_MOVIE", path.c_str(), 1);
    execl("/proc/self/exe", "recording_test", "--gtest_filter=Recording.DISABLED_UntilKilled",
          "--gtest_also_run_disabled_tests", "--gtest_brief=1", nullptr);
    _exit(1);
  }
  close(ends[1]);
  output = ends[0];
  return child;
}

TEST_F(Recording, AKilledProcessLeavesAMovieThatPlaysToItsLastSecond) {
  gstreamer::Initialise();
  struct {
    const char* name;
    pid_t child;
    int output;
  } table[] = {{"a.mov", 0, -1}, {"b.mp4", 0, -1}, {"c.mkv", 0, -1}, {"d.avi", 0, -1}};
  for (auto& row : table)
    row.child = RecordUntilKilled(Path(row.name), row.output);
  for (auto& row : table) {
    SCOPED_TRACE(row.name);
    char byte = 0;
    EXPECT_EQ(1, read(row.output, &byte, 1));
    EXPECT_EQ('x', byte);
    close(row.output);
    ASSERT_EQ(0, kill(row.child, SIGKILL));
    ASSERT_EQ(row.child, waitpid(row.child, nullptr, 0));
    const Movie movie = PlayMovie(Path(row.name));
    // 150 pictures are five seconds; the index of the last one may be missing, and what the muxer
    // has not interleaved yet.
    EXPECT_GE(movie.burntIn.size(), 105u);
    ExpectConsecutive(movie);
  }
}

}  // namespace
