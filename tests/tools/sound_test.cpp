// SPDX-License-Identifier: MIT
//
// Sound formats, levels and WAV files; the files are read back by a program of others.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "tests/support/foldertest.h"
#include "tools/exitcode.h"
#include "tools/soundlog.h"
#include "tools/wavfile.h"

namespace fs = std::filesystem;

namespace {

constexpr AudioFormat Integers(unsigned long rate, unsigned long channels, unsigned long bytes) {
  return {kSignedPackedIntegers, rate, channels, bytes};
}
constexpr AudioFormat Floats(unsigned long rate, unsigned long channels, unsigned long bytes) {
  return {kPackedFloats, rate, channels, bytes};
}

const AudioFormat kFormats[] = {Integers(8000, 1, 1),  Integers(44100, 2, 1), Integers(44100, 2, 2),
                                Integers(48000, 1, 3), Integers(48000, 6, 2), Integers(48000, 2, 4),
                                Integers(22050, 3, 1), Floats(96000, 2, 4),   Floats(48000, 8, 8)};

/// One sample between -1 and 1, as the format has it.
std::string Encoded(double value, const AudioFormat& format) {
  char bytes[8];
  const auto single = static_cast<float>(value);
  const auto integer = static_cast<std::int64_t>(
      std::min(std::floor(std::ldexp(value, static_cast<int>(format.bytesPerSample) * 8 - 1)),
               std::ldexp(1, static_cast<int>(format.bytesPerSample) * 8 - 1) - 1));
  if (!format.IsFloat()) std::memcpy(bytes, &integer, sizeof integer);
  if (format.IsFloat()) std::memcpy(bytes, &value, sizeof value);
  if (format == Floats(format.sampleRate, format.channels, 4)) {
    std::memcpy(bytes, &single, sizeof single);
  }
  return {bytes, format.bytesPerSample};
}

std::string Output(const std::string& command) {
  std::string output;
  FILE* pipe = popen((command + " 2>/dev/null").c_str(), "re");
  for (int c; (c = std::fgetc(pipe)) != EOF;)
    output += static_cast<char>(c);
  pclose(pipe);
  return output;
}

TEST(ParseAudioFormat, TakesWhatCanBeConvertedAndRefusesTheRest) {
  const std::pair<const char*, AudioFormat> taken[] = {{"48000:2:2", Integers(48000, 2, 2)},
                                                       {"0:0:0", Integers(0, 0, 0)},
                                                       {"0:1:1", Integers(0, 1, 1)},
                                                       {"0:0:0:float", Floats(0, 0, 4)},
                                                       {"192000:1:8:float", Floats(192000, 1, 8)},
                                                       {"1000:8:4", Integers(1000, 8, 4)}};
  for (const auto& [text, format] : taken)
    EXPECT_EQ(ParseAudioFormat(text), format) << text;
  for (const char* const text :
       {"", "48000", "48000:2", "48000:2:2:", "48000:2:2:int", "48000:2:2:float:", "48000:2:5",
        "48000:2:2:float", "48000:2:16:float", "999:1:1", "192001:1:1", "48000:9:2", "-1:2:2",
        " 48000:2:2", "48000:2:2 ", "x:2:2", "99999999999999999999:2:2", "192000:8:2",
        "0:8:8:float"}) {
    EXPECT_THROW(ParseAudioFormat(text), std::invalid_argument) << text;
  }
}

TEST(SoundLog, MeasuresEveryFormat) {
  for (const AudioFormat& format : kFormats) {
    SCOPED_TRACE(AudioFormatText(format));
    SoundLog log;
    std::string samples;
    const unsigned long frames = format.sampleRate;
    for (unsigned long i = 0; i < frames; ++i) {
      const double sine = std::sin(2 * M_PI * 500 * static_cast<double>(i) /
                                   static_cast<double>(format.sampleRate));
      for (unsigned long channel = 0; channel < format.channels; ++channel)
        samples += Encoded(channel == 0 ? -0.5 * sine : channel == 1 ? sine : 0, format);
    }
    log.Add(reinterpret_cast<const unsigned char*>(samples.data()), format, frames, {});
    const SoundSummary summary = log.Summary();
    EXPECT_EQ(summary.seconds, 1);
    for (const auto& levels : {summary.levels, log.MeterLevels()}) {
      const double coarse = format.bytesPerSample == 1 ? 0.1 : 0.01;
      ASSERT_EQ(levels.size(), format.channels);
      EXPECT_NEAR(levels[0].peak, -6.02, coarse);
      EXPECT_NEAR(levels[0].rms, -9.03, coarse);
      EXPECT_TRUE(format.channels < 2 || std::abs(levels[1].rms + 3.01) < coarse);
      EXPECT_TRUE(format.channels < 3 || levels[2].peak == -INFINITY);
    }
  }
}

TEST(SoundLog, TellsLostSoundFromLateSound) {
  struct Case {
    const char* what;
    int missing;    ///< how many buffers, from the hundredth on
    double late;    ///< seconds, for the ten buffers from the hundredth on
    double drift;   ///< of the device's clock
    double wanted;  ///< seconds
  };
  for (const auto& [what, missing, late, drift, wanted] :
       {Case{"steady", 0, 0, 0, 0}, Case{"three buffers missing", 3, 0, 0, 0.12},
        Case{"held up, and all came", 0, 0.9, 0, 0}, Case{"a slow clock", 0, 0, 2e-4, 0},
        Case{"a fast clock, one missing", 1, 0, -2e-4, 0.04}}) {
    std::mt19937 random(7);
    std::exponential_distribution<double> jitter(300);
    SoundLog log;
    const std::string silence(1920 * 2, '\0');
    double arrived = 0;
    for (int i = 0; i < 5000; ++i) {
      if (i >= 100 && i < 100 + missing) continue;
      const double due = 0.04 * i * (1 + drift) + jitter(random);
      arrived = std::max(arrived, i >= 100 && i < 110 ? due + late : due);
      const auto now =
          CaptureClock::time_point() + std::chrono::microseconds(std::lround(arrived * 1e6));
      log.Add(reinterpret_cast<const unsigned char*>(silence.data()), Integers(48000, 1, 2), 1920,
              now);
    }
    EXPECT_NEAR(static_cast<double>(log.Summary().lost) / 48000, wanted, 0.01) << what;
  }
}

class WavFileTest : public FolderTest {
 protected:
  void SetUp() override {
    if (Output("ffmpeg -version").empty()) GTEST_SKIP() << "needs ffmpeg";
  }
  std::string File() const { return root_ / "a.wav"; }
};

TEST_F(WavFileTest, IsCompleteAfterEachPiece) {
  for (const AudioFormat& format : kFormats) {
    SCOPED_TRACE(AudioFormatText(format));
    std::mt19937 random(1);
    std::uniform_real_distribution<double> value(-1, 1);
    WavFile file(File(), format);
    std::vector<double> written;
    for (const unsigned long frames : {1ul, 100ul, 7ul}) {
      std::string piece;
      for (unsigned long i = 0; i < frames * format.channels; ++i) {
        written.push_back(value(random));
        piece += Encoded(written.back(), format);
      }
      file.Append({reinterpret_cast<std::uint8_t*>(piece.data()), piece.size()});
      const std::string raw =
          Output("ffmpeg -v error -xerror -i '" + File() + "' -f f64le -c:a pcm_f64le -");
      ASSERT_EQ(raw.size(), written.size() * sizeof(double));
      for (std::size_t i = 0; i < written.size(); ++i) {
        double read = 0;
        std::memcpy(&read, raw.data() + i * sizeof read, sizeof read);
        ASSERT_NEAR(read, written[i], std::ldexp(1, format.bytesPerSample == 1 ? -7 : -15)) << i;
      }
    }
    const std::string told = Output("ffprobe -v error -show_streams '" + File() + "'");
    EXPECT_NE(told.find("sample_rate=" + std::to_string(format.sampleRate)), std::string::npos);
    EXPECT_EQ(fs::file_size(File()) % 2, 0u);
  }
}

TEST_F(WavFileTest, GoesBeyondFourGigabytes) {
  const AudioFormat format = Integers(48000, 2, 2);
  for (const std::uint64_t seconds : {22369ull, 22370ull, 60000ull}) {
    const std::uint64_t bytes = seconds * 48000 * 4;
    const std::string header = WavHeader(format, bytes);
    EXPECT_EQ(header.substr(0, 4), seconds == 22369 ? "RIFF" : "RF64");
    EXPECT_EQ(header.size(), WavHeader(format, 0).size());
    std::ofstream(File()) << header;
    fs::resize_file(File(), header.size() + bytes);
    const std::string told =
        Output("ffprobe -v error -show_entries format=duration -of csv=p=0 '" + File() + "'");
    EXPECT_EQ(std::strtod(told.c_str(), nullptr), static_cast<double>(seconds));
  }
}

TEST_F(WavFileTest, AFullDiskKeepsWhatFits) {
  const AudioFormat format = Integers(1000, 1, 1);
  const std::size_t headerBytes = WavHeader(format, 0).size();
  signal(SIGXFSZ, SIG_IGN);
  const rlimit small{headerBytes + 2501, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &small);
  std::vector<std::uint8_t> samples(1000);
  WavFile file(File(), format);
  file.Append(samples);
  file.Append(samples);
  EXPECT_THROW(file.Append(samples), Failure);
  const rlimit large{RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &large);
  const std::string raw = Output("ffmpeg -v error -xerror -i '" + File() + "' -f u8 -");
  EXPECT_EQ(raw.size(), 2501u);
  EXPECT_THROW(WavFile(root_ / "none/a.wav", format), Failure);
}

}  // namespace
