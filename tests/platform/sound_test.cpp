// SPDX-License-Identifier: MIT
//
// Sound from servers of the test's own, which run in a temporary folder and have no hardware:
// PulseAudio, PipeWire by its own protocol, and PipeWire by its PulseAudio interface.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/captureplatform.h"
#include "platform/gstreamer/gstreamerplatform.h"
#include "platform/gstreamer/sourcedevice.h"
#include "platform/sound/soundmode.h"
#include "platform/sound/soundtimeline.h"
#include "platform/uniquefd.h"
#include "tests/support/soundhost.h"
#include "tests/support/tone.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr double kRate = 48000;

/// A program that runs, with all it started, until this is gone.
class Program {
 public:
  explicit Program(const std::string& command) : pid_(fork()) {
    if (pid_ != 0) return;
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execl("/bin/sh", "sh", "-c", ("exec " + command + " >>log 2>&1 </dev/null").c_str(), nullptr);
    _exit(127);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program() {
    Signal(SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  void Signal(int signal) const {
    kill(pid_, signal);
    kill(-pid_, signal);
  }

 private:
  const pid_t pid_;
};

constexpr const char* kPulseScript = R"(
load-module module-native-protocol-unix
load-module module-null-sink sink_name=out rate=48000
load-module module-remap-source source_name=mic master=out.monitor channels=2 remix=no source_properties=device.description=Mic
load-module module-null-source source_name=quiet channels=1 rate=44100 description=Quiet
)";

constexpr const char* kPipeWireConfiguration = R"(
context.properties = { core.daemon = true core.name = pipewire-0 default.clock.rate = 48000 }
context.spa-libs = { support.* = support/libspa-support
                     audio.convert.* = audioconvert/libspa-audioconvert }
context.modules = [
  { name = libpipewire-module-protocol-native } { name = libpipewire-module-client-node }
  { name = libpipewire-module-client-device } { name = libpipewire-module-adapter }
  { name = libpipewire-module-metadata } { name = libpipewire-module-spa-node-factory }
  { name = libpipewire-module-link-factory } { name = libpipewire-module-session-manager }
  { name = libpipewire-module-access } ]
context.objects = [
  { factory = adapter args = { factory.name = support.null-audio-sink media.class = Audio/Sink
      node.name = out node.description = Out audio.position = [ FL FR ] } }
  { factory = adapter args = { factory.name = support.null-audio-sink
      media.class = Audio/Source/Virtual
      node.name = mic node.description = Mic audio.position = [ FL FR ] } }
  { factory = adapter args = { factory.name = support.null-audio-sink
      media.class = Audio/Source/Virtual
      node.name = quiet node.description = Quiet audio.position = [ MONO ] } } ]
)";

struct Kind {
  const char* name;
  std::vector<std::string> needed;
  std::vector<std::string> servers;
  std::string ready;    ///< succeeds when they are
  std::string player;   ///< a GStreamer sink for what is to come out of "Mic"
  std::string connect;  ///< leads its sound there
  std::string unplug;   ///< takes "Mic" away

  friend void PrintTo(const Kind& kind, std::ostream* stream) { *stream << kind.name; }
};

const std::string kPulseServer =
    "pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no -F pulse.pa";
const std::string kPipeWireServer = "pipewire -c \"$PWD/pipewire.conf\"";
const std::string kSessionManager = "dbus-run-session -- wireplumber";
const std::string kPulseReady = "test -S pulse/native";
/// The session manager has seen the sources, and chosen one.
const std::string kPipeWireReady = "pw-metadata -n default 0 2>&1 | grep -q default.audio.source";
// A session manager leads players to outputs only.
const std::string kConnect =
    "pw-link player:output_FL mic:input_FL >>log 2>&1 && pw-link player:output_FR mic:input_FR";
const std::string kDestroy =
    R"(pw-cli destroy $(pw-cli ls Node | awk '/\tid / { id = $2 } /"mic"/ { print id + 0 }'))";

const Kind kKinds[] = {
    {"PulseAudio",
     {"pulseaudio", "pactl"},
     {kPulseServer},
     kPulseReady,
     "pulsesink device=out",
     "true",
     "pactl unload-module module-remap-source"},
    {"PipeWire",
     {"pipewire", "wireplumber", "dbus-run-session", "pw-cli", "pw-link", "pw-metadata"},
     {kPipeWireServer, kSessionManager},
     kPipeWireReady,
     "pipewiresink client-name=player",
     kConnect,
     kDestroy},
    {"PipeWireAsPulseAudio",
     {"pipewire", "wireplumber", "dbus-run-session", "pw-cli", "pw-link", "pw-metadata",
      "pipewire-pulse"},
     {kPipeWireServer, kSessionManager, "pipewire-pulse"},
     kPulseReady + " && " + kPipeWireReady,
     "pipewiresink client-name=player",
     kConnect,
     kDestroy},
};

/// A machine of its own, as far as sound servers are concerned.
class Sound : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/zorvex_sound.XXXXXX";
    folder_ = mkdtemp(pattern);
    fs::current_path(folder_);
    for (const char* name : {"XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_STATE_HOME"})
      setenv(name, folder_.c_str(), 1);
    for (const char* name : {"PULSE_SERVER", "PIPEWIRE_REMOTE", "DBUS_SESSION_BUS_ADDRESS"})
      unsetenv(name);
    std::ofstream("pulse.pa") << kPulseScript;
    std::ofstream("pipewire.conf") << kPipeWireConfiguration;
  }
  void TearDown() override {
    programs_.clear();
    if (HasFailure()) std::cout << std::ifstream("log").rdbuf() << '\n';
    fs::current_path("/");
    fs::remove_all(folder_);
  }

  std::string folder_;
  std::vector<std::unique_ptr<Program>> programs_;
};

class SoundServer : public Sound, public ::testing::WithParamInterface<Kind> {
 protected:
  void SetUp() override {
    for (const std::string& program : GetParam().needed) {
      if (std::system(("command -v " + program + " >/dev/null").c_str()) != 0) {
        GTEST_SKIP() << program << " is missing; install it with scripts/install-packages check";
      }
    }
    Sound::SetUp();
    StartServers();
  }
  void StartServers() {
    for (const std::string& server : GetParam().servers) {
      programs_.push_back(std::make_unique<Program>(server));
      // Each finds the one before it.
      ASSERT_TRUE(WaitUntil([] { return fs::exists("pipewire-0") || fs::exists("pulse/native"); }));
    }
    ASSERT_TRUE(WaitUntil([] { return std::system(GetParam().ready.c_str()) == 0; }));
    ASSERT_TRUE(WaitUntil([] {
      return SoundNames() == std::vector<std::string>{"Mic", "Quiet"};
    })) << ::testing::PrintToString(SoundNames());
  }
  void SignalAll(int signal) {
    for (const auto& program : programs_)
      program->Signal(signal);
  }
  static void Run(const std::string& command) {
    EXPECT_EQ(std::system((command + " >>log 2>&1").c_str()), 0) << command;
  }
};

TEST_P(SoundServer, GivesTheToneThatIsPlayed) {
  const Program player(
      "gst-launch-1.0 -q --no-position audiotestsrc is-live=true freq=1000 volume=0.25 ! "
      "audio/x-raw,rate=48000,channels=2 ! " +
      GetParam().player);
  EXPECT_TRUE(WaitUntil([] { return std::system(GetParam().connect.c_str()) == 0; }));
  SoundCapture capture("Mic");
  ASSERT_TRUE(ZRVXDeviceHasMediaType(capture.handle, ZRVXDeviceMediaTypeAudio));
  EXPECT_FALSE(ZRVXDeviceIsUsedByAnotherApplication(capture.handle));
  ASSERT_TRUE(capture.Start());
  // The player may stumble on a busy machine; what is captured in between has to be whole.
  std::vector<float> heard;
  ASSERT_TRUE(WaitUntil([&] {
    heard = capture.sound.Samples();
    return LongestTone(heard, 1000, kRate).size() > 24000;
  }));
  const auto tone = LongestTone(heard, 1000, kRate);
  EXPECT_NEAR(LevelOf(tone, 1000, kRate), -12.04, 0.05);
  EXPECT_NEAR(FrequencyOf(tone, 1000, kRate), 1000, 0.05);
}

TEST_P(SoundServer, DiesWhileItIsUsedAndComesBack) {
  SoundCapture capture("Mic");
  ASSERT_TRUE(capture.Start());
  ASSERT_TRUE(capture.sound.WaitForSeconds(0.2));
  programs_.clear();
  EXPECT_TRUE(WaitUntil([&] { return !ZRVXDeviceIsConnected(capture.handle); }));
  EXPECT_TRUE(capture.IsSilent());
  EXPECT_THAT(SoundNames(), ::testing::IsEmpty());
  EXPECT_LT(Timed([&] { EXPECT_TRUE(ZRVXDeviceStopCapture(capture.handle)); }), 5s);
  EXPECT_TRUE(ZRVXDeviceClose(capture.handle));

  fs::remove("pipewire-0");
  fs::remove_all("pulse");
  StartServers();
  EXPECT_TRUE(ZRVXDeviceIsConnected(capture.handle));
  SoundCapture again("Mic");
  ASSERT_TRUE(again.Start());
  EXPECT_TRUE(again.sound.WaitForSeconds(0.2));
}

/// The source is unplugged: no other one goes on in its stream, and a session gets to know of it.
TEST_P(SoundServer, LosesASourceWhichFailsOnceAndEndsItsStream) {
  const auto devices = CapturePlatform::Current().InputDevices();
  auto* device = dynamic_cast<SourceDevice*>(devices.at(0).get());
  ASSERT_TRUE(device && device->Open());
  const SourceDevice::Source source = device->BeginStreaming({}, nullptr);
  ASSERT_TRUE(source.element);
  const GstPointer<GstCaps> caps(source.caps);
  const GstPointer<GstElement> pipeline(gst_pipeline_new(nullptr));
  GstElement* sink = gst_element_factory_make("fakesink", nullptr);
  gst_bin_add_many(AsBin(pipeline.get()), source.element, sink, nullptr);
  gst_element_link_filtered(source.element, sink, caps.get());
  gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
  const GstPointer<GstBus> bus(gst_element_get_bus(pipeline.get()));
  const auto next = [&](GstClockTime limit, int types) {
    const GstPointer<GstMessage> message(
        gst_bus_timed_pop_filtered(bus.get(), limit, static_cast<GstMessageType>(types)));
    return message ? GST_MESSAGE_TYPE(message.get()) : GST_MESSAGE_UNKNOWN;
  };
  constexpr int kEnds = GST_MESSAGE_ERROR | GST_MESSAGE_EOS;
  ASSERT_EQ(next(10 * GST_SECOND, kEnds | GST_MESSAGE_ASYNC_DONE), GST_MESSAGE_ASYNC_DONE);
  EXPECT_EQ(next(GST_SECOND, kEnds), GST_MESSAGE_UNKNOWN);
  Run(GetParam().unplug);
  EXPECT_EQ(next(10 * GST_SECOND, kEnds), GST_MESSAGE_ERROR);
  EXPECT_EQ(next(5 * GST_SECOND, kEnds), GST_MESSAGE_EOS);
  EXPECT_THAT(SoundNames(), ::testing::ElementsAre("Quiet"));
  gst_element_set_state(pipeline.get(), GST_STATE_NULL);
  device->EndStreaming();
  device->Close();
}

TEST_P(SoundServer, HangsWhileItIsUsedAndListed) {
  SoundCapture capture("Mic");
  ASSERT_TRUE(capture.Start());
  ASSERT_TRUE(capture.sound.WaitForSeconds(0.2));
  SignalAll(SIGSTOP);
  EXPECT_LT(Timed([] { EXPECT_THAT(SoundNames(), ::testing::IsEmpty()); }), 3s);
  const auto listOften = [] {
    for (int i = 0; i < 20; ++i)
      SoundNames();
  };
  EXPECT_LT(Timed(listOften), 500ms) << "for a while it is not to be asked again";
  EXPECT_LT(Timed([&] { EXPECT_TRUE(ZRVXDeviceStopCapture(capture.handle)); }), 5s);
  EXPECT_TRUE(ZRVXDeviceClose(capture.handle));
  EXPECT_FALSE(ZRVXDeviceOpen(capture.handle));
  SignalAll(SIGCONT);
  EXPECT_TRUE(WaitUntil([&] { return capture.Start(); }));
  // A server that did not answer is left alone for a while, and a busy machine may prolong it.
  const std::vector<std::string> both{"Mic", "Quiet"};
  EXPECT_TRUE(WaitUntil([&] { return SoundNames() == both; }));
}

TEST_P(SoundServer, ListsOftenAndLeavesNothingBehind) {
  SoundCapture capture("Quiet");
  ASSERT_TRUE(capture.Start());
  ASSERT_TRUE(capture.sound.WaitForSeconds(0.2));
  const auto held = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), {}) +
           std::distance(fs::directory_iterator("/proc/self/task"), {});
  };
  const auto before = held();
  EXPECT_LT(Timed([] {
              for (int i = 0; i < 50; ++i)
                SoundNames();
            }),
            5s);
  // The capture itself may take descriptors for its buffers late; fifty lists that each kept one
  // would be more.
  EXPECT_LT(held(), before + 25);
  EXPECT_FALSE(capture.IsSilent());
}

INSTANTIATE_TEST_SUITE_P(Of, SoundServer, ::testing::ValuesIn(kKinds),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(Sound, ThereIsNoServer) {
  EXPECT_LT(Timed([] { EXPECT_THAT(SoundNames(), ::testing::IsEmpty()); }), 2s);
}

/// Somebody listens on a server's socket and talks nonsense.
TEST_F(Sound, ServersThatAreNone) {
  const std::string header("\0\0\0\x20\xff\xff\xff\xff\0\0\0\0\0\0\0\0\0\0\0\0", 20);
  const std::string reply("L\0\0\0\2L\0\0\0", 9);
  const std::string table[] = {
      "", "HTTP/1.1 400 Bad Request\r\n\r\n", std::string(1 << 16, '\xff'), header, header + reply,
      // Three replies; the last one is the list, cut off inside a source.
      header + reply + '\0' + std::string(22, '0') + header + reply + '\1' + std::string(22, '0') +
          header + reply + "\2L\0\0\0\1tmic\0tMic\0a\3\2\0\0\xbb\x80m\xff"};
  fs::create_directory("pulse");
  for (const std::string& words : table) {
    SCOPED_TRACE(words.size());
    fs::remove("pulse/native");
    const UniqueFd listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{AF_UNIX, "pulse/native"};
    ASSERT_EQ(bind(listener.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener.Get(), 4), 0);
    std::thread server([&] {
      const UniqueFd client(accept(listener.Get(), nullptr, nullptr));
      EXPECT_GE(send(client.Get(), words.data(), words.size(), MSG_NOSIGNAL), 0);
    });
    EXPECT_LT(Timed([] { EXPECT_THAT(SoundNames(), ::testing::IsEmpty()); }), 2s);
    server.join();
  }
}

TEST(SoundTimeline, FollowsTheClockWithoutGaps) {
  const struct {
    const char* name;
    double speed;    // of the device's clock
    double jitter;   // milliseconds that a buffer may be late
    int lostAt;      // the buffer before which half a second was lost, and
    bool isTold;     // whether the device says so
    double allowed;  // milliseconds of error in the end
  } table[] = {{"exact", 1, 0, -1, false, 0.01},         {"late buffers", 1, 90, -1, false, 5},
               {"fast clock", 1.0003, 20, -1, false, 5}, {"slow clock", 0.9997, 20, -1, false, 5},
               {"told of loss", 1, 0, 900, true, 0.01},  {"untold loss", 1, 5, 900, false, 5}};
  for (const auto& row : table) {
    SCOPED_TRACE(row.name);
    gstreamer::SoundTimeline timeline;
    std::minstd_rand random(1);
    double made = 20e6;  // when the buffer was complete
    std::int64_t next = 0;
    int gaps = 0;
    double error = 0;
    for (int i = 0; i < 3000; ++i, made += 20e6 / row.speed) {
      if (i == row.lostAt) made += 500e6;
      const double late = row.jitter * 1e3 * static_cast<double>(random() % 1000);
      const auto stamp = timeline.Next(20000000, static_cast<std::int64_t>(made + late),
                                       row.isTold && i == row.lostAt);
      EXPECT_GE(stamp.start, next) << i;
      if (i > 0 && stamp.start != next) ++gaps;
      EXPECT_EQ(stamp.isDiscontinuous, i == 0 || stamp.start != next) << i;
      next = stamp.start + stamp.duration;
      error = (static_cast<double>(next) - made) / 1e6;
    }
    EXPECT_EQ(gaps, row.lostAt < 0 ? 0 : 1);
    EXPECT_NEAR(error, 0, row.allowed);
  }
}

TEST(SoundMode, SuitsTheDevice) {
  ASSERT_TRUE(gstreamer::Initialise());
  const std::string pcm = "audio/x-raw,layout=interleaved,format=";
  const struct {
    std::string offered, chosen;
    std::size_t formats;
  } table[] = {
      {"{S32LE,S16LE},rate=[8000,192000],channels=[1,32]", "S16LE,rate=48000,channels=2", 2},
      {"S24LE,rate={32000,44100},channels=1", "S24LE,rate=44100,channels=1", 1},
      {"S32LE,rate=96000,channels=12", "S32LE,rate=96000,channels=12,channel-mask=(bitmask)0", 1},
      {"S16LE,rate=16000,channels=2;" + pcm + "F32LE,rate=48000,channels=1",
       "F32LE,rate=48000,channels=1", 2},
      {"DSD,rate=48000,channels=2;audio/x-alaw,rate=8000,channels=1", "", 0}};
  for (const auto& row : table) {
    SCOPED_TRACE(row.offered);
    const GstPointer<GstCaps> offered(gst_caps_from_string((pcm + row.offered).c_str()));
    const GstPointer<GstCaps> chosen = gstreamer::ChooseSoundMode(offered.get());
    const GstPointer<GstCaps> expected(gst_caps_from_string((pcm + row.chosen).c_str()));
    EXPECT_TRUE(row.chosen.empty() ? !chosen : gst_caps_is_equal(chosen.get(), expected.get()));
    EXPECT_EQ(gstreamer::DescribeSoundModes(offered.get()).size(), row.formats);
  }
}

}  // namespace
