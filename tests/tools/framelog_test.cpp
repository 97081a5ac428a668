// SPDX-License-Identifier: MIT
#include "tools/framelog.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

struct Frame {
  double milliseconds;
  std::optional<std::uint32_t> counter;
};

TEST(FrameLog, CountsDroppedFrames) {
  std::mt19937 random(3);
  std::normal_distribution<double> jitter(0, 2);
  std::vector<Frame> jittery;
  for (int i = 0; i < 100000; ++i) {
    if (i % 10000 != 5000) jittery.push_back({i * 33.367 + std::abs(jitter(random)), {}});
  }
  const struct {
    const char* what;
    std::vector<Frame> frames;
    int dropped;
  } cases[] = {
      {"nothing", {}, 0},
      {"one frame", {{0, 7}}, 0},
      {"late in a burst, none missing", {{0, 7}, {40, 8}, {400, 9}, {401, 10}, {402, 11}}, 0},
      {"two time codes missing", {{0, 7}, {40, 8}, {160, 11}, {200, 12}}, 2},
      {"another recording begins on the tape", {{0, 7}, {40, 8}, {80, 90000}, {120, 90001}}, 0},
      {"the tape goes back", {{0, 90000}, {40, 90001}, {80, 7}, {120, 8}}, 0},
      {"a still picture repeats its time code", {{0, 7}, {40, 7}, {80, 7}, {120, 7}}, 0},
      {"a frame without time code, one missing", {{0, 7}, {40, {}}, {80, 9}, {160, 11}}, 1},
      {"no time codes, three missing", {{0, {}}, {40, {}}, {80, {}}, {240, {}}, {280, {}}}, 3},
      {"all at once", {{5, {}}, {5, {}}, {5, {}}}, 0},
      {"a long jittery capture", jittery, 10},  // give or take
  };
  for (const auto& [what, frames, dropped] : cases) {
    FrameLog log;
    for (const Frame& frame : frames) {
      SMPTETime time{};
      time.mType = kSMPTETimeType25;
      time.mCounter = frame.counter.value_or(0);
      log.Add({}, frame.counter ? &time : nullptr,
              CaptureClock::time_point() +
                  std::chrono::microseconds(std::lround(frame.milliseconds * 1000)));
    }
    EXPECT_NEAR(static_cast<double>(log.Summary().dropped), dropped, dropped / 2 * (dropped > 3))
        << what;
  }
}

}  // namespace
