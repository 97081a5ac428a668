// SPDX-License-Identifier: MIT
//
// Capture from the ALSA loopback card of a real kernel, through the exported functions. To be run
// by the rig, where no sound server runs. What is played into the card's first device comes out of
// its second one. The processor is emulated there: the sound is short.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/uniquefd.h"
#include "tests/support/soundhost.h"
#include "tests/support/tone.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr const char* kFirst = "Loopback, Loopback PCM";
constexpr const char* kSecond = "Loopback, Loopback PCM (2)";
constexpr double kRate = 48000;

/// The sound formats of a device, by their codes.
struct Formats final : IZRVXDeviceFormatEnumerator {
  bool OnDeviceFormatAudio(unsigned int format) override {
    codes.push_back(format);
    return true;
  }
  bool OnDeviceFormatVideo(unsigned int, unsigned long, unsigned long) override { return false; }
  std::vector<unsigned int> codes;
};

/// How many more could open the second device.
int PlacesLeft(std::vector<UniqueFd> held = {}) {
  for (;;) {
    UniqueFd file(open("/dev/snd/pcmC0D1c", O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!file) return static_cast<int>(held.size());
    held.push_back(std::move(file));
  }
}

class Alsa : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(kDriver))
      GTEST_SKIP() << "the driver snd-aloop is missing; see tests/devices/rig";
  }
  void TearDown() override {
    if (fs::exists(kDriver) && !fs::exists(fs::path(kDriver) / kCard)) Write("bind");
  }
  static void Write(const char* file) {
    std::ofstream(fs::path(kDriver) / file) << kCard << std::flush;
  }

  static constexpr const char* kDriver = "/sys/bus/platform/drivers/snd_aloop";
  static constexpr const char* kCard = "snd_aloop.0";
};

TEST_F(Alsa, GivesTheToneThatIsPlayed) {
  EXPECT_THAT(SoundNames(), ::testing::ElementsAre(kFirst, kSecond));
  const pid_t player = fork();
  if (player == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execlp("gst-launch-1.0", "gst-launch-1.0", "-q", "--no-position", "audiotestsrc", "freq=1000",
           "volume=0.25", "!", "audio/x-raw,format=S16LE,rate=48000,channels=2", "!", "alsasink",
           "device=hw:Loopback,0", nullptr);
    _exit(127);
  }
  SoundCapture capture(kSecond);
  Formats formats;
  EXPECT_TRUE(ZRVXDeviceFormatEnumerate(capture.handle, &formats));
  EXPECT_THAT(formats.codes, ::testing::ElementsAre(0x6C70636D)) << "'lpcm', named once";
  ASSERT_TRUE(capture.Start());
  std::vector<float> heard;
  EXPECT_TRUE(WaitUntil([&] {
    heard = capture.sound.Samples();
    return LongestTone(heard, 1000, kRate).size() > 12000;
  }));
  const auto tone = LongestTone(heard, 1000, kRate);
  EXPECT_NEAR(LevelOf(tone, 1000, kRate), -12.04, 0.05);
  EXPECT_NEAR(FrequencyOf(tone, 1000, kRate), 1000, 0.1);

  const std::size_t before = capture.sound.Samples().size();
  const auto taken = Timed([] { std::this_thread::sleep_for(3s); });
  const auto arrived = static_cast<double>(capture.sound.Samples().size() - before);
  EXPECT_NEAR(arrived / std::chrono::duration<double>(taken).count(), kRate, kRate / 5);
  kill(player, SIGKILL);
  waitpid(player, nullptr, 0);
}

TEST_F(Alsa, HoldsOnePlaceAndIsBusyWithoutOne) {
  SoundCapture capture(kSecond);
  const int places = PlacesLeft();
  ASSERT_GT(places, 1);
  {
    std::vector<UniqueFd> others;
    for (int i = 0; i < places; ++i)
      others.emplace_back(open("/dev/snd/pcmC0D1c", O_RDWR | O_NONBLOCK | O_CLOEXEC));
    EXPECT_TRUE(ZRVXDeviceIsUsedByAnotherApplication(capture.handle));
    EXPECT_FALSE(ZRVXDeviceOpen(capture.handle));
  }
  EXPECT_FALSE(ZRVXDeviceIsUsedByAnotherApplication(capture.handle));
  EXPECT_TRUE(ZRVXDeviceOpen(capture.handle));
  EXPECT_EQ(PlacesLeft(), places - 1);
  for (int run = 0; run < 2; ++run) {
    ASSERT_TRUE(capture.Start());
    EXPECT_TRUE(capture.sound.WaitForSeconds(0.1 * (run + 1)));
    EXPECT_EQ(PlacesLeft(), places - 1);
    EXPECT_TRUE(ZRVXDeviceStopCapture(capture.handle));
    EXPECT_TRUE(WaitUntil([&] { return PlacesLeft() == places - 1; }));
  }
  EXPECT_TRUE(ZRVXDeviceClose(capture.handle));
  EXPECT_EQ(PlacesLeft(), places);
}

TEST_F(Alsa, UnpluggedWhileItCaptures) {
  {
    SoundCapture capture(kSecond);
    ASSERT_TRUE(capture.Start());
    ASSERT_TRUE(capture.sound.WaitForSeconds(0.1));
    std::thread unplugging([] { Write("unbind"); });  // waits until nobody has the card any more
    EXPECT_TRUE(WaitUntil([&] { return !ZRVXDeviceIsConnected(capture.handle); }));
    EXPECT_THAT(SoundNames(), ::testing::IsEmpty());
    EXPECT_TRUE(ZRVXDeviceStopCapture(capture.handle));
    EXPECT_TRUE(ZRVXDeviceClose(capture.handle));
    unplugging.join();
  }
  Write("bind");
  EXPECT_TRUE(WaitUntil([] { return SoundNames() == std::vector<std::string>{kFirst, kSecond}; }));
  SoundCapture again(kSecond);
  ASSERT_TRUE(again.Start());
  EXPECT_TRUE(again.sound.WaitForSeconds(0.1));
}

}  // namespace
