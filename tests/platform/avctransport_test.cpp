// SPDX-License-Identifier: MIT
//
// The tape transport on a deck that keeps to the published command set, and on units that do not.
#include "platform/avc/avctransport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <deque>
#include <sstream>
#include <string>
#include <thread>

#include "platform/avc/speedtable.h"

namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;
using Controls = QTCaptureDeviceAVCTransportControls;
using Clock = std::chrono::steady_clock;

Bytes FromHex(const std::string& text) {
  std::istringstream stream(text);
  Bytes bytes;
  for (unsigned byte; stream >> std::hex >> byte;)
    bytes.push_back(static_cast<std::uint8_t>(byte));
  return bytes;
}

/// A tape recorder with the commands of its class, and without a tape.
class ModelDeck final : public FcpChannel {
 public:
  std::optional<Bytes> Transact(std::span<const std::uint8_t> command,
                                std::chrono::milliseconds) override {
    sent.insert(sent.end(), command.begin(), command.end());
    if (command[0] == 0x01) {
      const bool isBusy = busyQueries > 0 && busyQueries-- > 0;
      return Bytes{static_cast<std::uint8_t>(isBusy ? 0x0b : 0x0c), 0x20, state[0], state[1]};
    }
    const bool isRefused = command[3] == refused;
    if (!isRefused) Do({command[2], command[3]});
    return Bytes{static_cast<std::uint8_t>(isRefused ? 0x0a : 0x09), 0x20, command[2], command[3]};
  }

  Bytes state{0xc4, 0x60};
  int refused = 0;
  int busyQueries = 0;  ///< queries answered "in transition" from the next stop on
  int queriesToStop = 0;
  Bytes sent;

 private:
  void Do(const Bytes& wanted) {
    const bool isPlaying = state[0] == 0xc3, toggles = wanted == Bytes{0xc3, 0x7d};
    if (isPlaying && wanted[0] == 0xc4 && wanted[1] != 0x60) {
      state[1] = wanted[1] == 0x65 ? 0x4f : 0x3f;  // winding from a picture is a search
    } else {
      state = toggles && state == wanted ? Bytes{0xc3, 0x75} : wanted;
      if (wanted[1] == 0x60) busyQueries = queriesToStop;
    }
  }
};

TEST(AvcTransport, SendsThePublishedCommands) {
  const std::string query = "01 20 d0 7f ", stop = "00 20 c4 60 ";
  struct {
    Controls wish;
    Bytes before;
    int refused;
    std::string sent;
  } const rows[] = {
      {{0, 0}, {0xc3, 0x75}, 0, stop},
      {{10000, 1}, {0xc4, 0x60}, 0, "00 20 c3 75"},
      {{10000, 1}, {0xc3, 0x75}, 0, "00 20 c3 75"},
      {{-10000, 1}, {0xc3, 0x75}, 0, "00 20 c3 65"},
      {{-19000, 0}, {0xc4, 0x60}, 0, query + "00 20 c4 65"},
      {{19000, 0}, {0xc4, 0x65}, 0, query + "00 20 c4 75"},
      {{-19000, 0}, {0xc3, 0x75}, 0, query + stop + query + "00 20 c4 65"},
      {{19000, 0}, {0xc3, 0x7d}, 0, query + stop + query + "00 20 c4 75"},
      {{19000, 0}, {0xc2, 0x75}, 0, query + stop + query + "00 20 c4 75"},
      {{-13000, 1}, {0xc4, 0x60}, 0x4b, "00 20 c3 4b 00 20 c3 4f"},
      {{5000, 1}, {0xc3, 0x75}, 0x34, "00 20 c3 34 00 20 c3 31"},
      {{LONG_MIN, 1}, {0xc3, 0x75}, 0, "00 20 c3 4f"},
      {{LONG_MAX, 7}, {0xc4, 0x60}, 0, query + "00 20 c4 75"},
      {{0, 1}, {0xc3, 0x75}, 0, query + "00 20 c3 7d"},
      {{0, 1}, {0xc3, 0x7d}, 0, query},
  };
  for (const auto& row : rows) {
    const auto deck = std::make_shared<ModelDeck>();
    deck->state = row.before;
    deck->refused = row.refused;
    AvcTransport(deck).SetControls(row.wish);
    EXPECT_EQ(deck->sent, FromHex(row.sent)) << row.sent;
  }
}

TEST(AvcTransport, WhatIsWrittenReadsBackFromEveryState) {
  constexpr Controls kAll[] = {{0, 0},     {10000, 1},  {-19000, 0},
                               {19000, 0}, {-13000, 1}, {13000, 1}};
  const auto deck = std::make_shared<ModelDeck>();
  deck->queriesToStop = 2;
  AvcTransport transport(deck);
  for (const Controls& before : kAll) {
    for (const Controls& wish : kAll) {
      transport.SetControls(before);
      transport.SetControls(wish);
      transport.SetControls(wish);
      EXPECT_EQ(transport.Controls(), wish);
    }
  }
}

TEST(AvcTransport, SpeedsKeepTheirOrderAndDirection) {
  long last = LONG_MIN;
  for (long speed = -20000; speed <= 20000; ++speed) {
    if (speed == 0) continue;
    const auto mode = avc::PlayModeForSpeed(speed);
    const long actual = avc::SpeedOfPlayMode(mode).value_or(0);
    ASSERT_TRUE(actual >= last && actual != 0 && (actual < 0) == (speed < 0)) << speed;
    ASSERT_EQ(avc::PlayModeForSpeed(actual), mode);
    last = actual;
  }
}

/// Plays back answers, one for each command, and is silent then.
struct ScriptedUnit final : FcpChannel {
  explicit ScriptedUnit(std::deque<std::string> script) : answers(std::move(script)) {}
  std::optional<Bytes> Transact(std::span<const std::uint8_t>, std::chrono::milliseconds) override {
    const std::string answer = answers.empty() ? "" : answers.front();
    if (!answers.empty()) answers.pop_front();
    return answer.empty() ? std::nullopt : std::optional(FromHex(answer));
  }
  std::deque<std::string> answers;
};

TEST(AvcTransport, ReadsWhateverAUnitAnswers) {
  struct {
    std::deque<std::string> answers;
    std::optional<Controls> controls;
    std::optional<AvcTimeCode> timeCode;
  } const rows[] = {
      {{"0c 20 c3 75"}, {{10000, 1}}, {}},
      {{"0b 20 c4 65"}, {{-19000, 0}}, {}},  // in transition: what it goes to
      {{"0c 20 c3 7d"}, {{0, 1}}, {}},
      {{"0c 20 c2 75"}, {{10000, 1}}, {}},
      {{"0c 20 c1 60"}, {{0, 0}}, {}},
      {{"", "0c 20 c4 75"}, {{19000, 0}}, {}},  // lost once
      {{"0c 20 c3 99"}, {}, {}},
      {{"08 20 d0 7f"}, {}, {}},
      {{"09 20 c4 60", "0f 20 c3 75"}, {}, {}},  // of another command; interim
      {{"0c 28 c3 75", "0c"}, {}, {}},           // another subunit
      {{"0c 20 c3", "0c 20 c3"}, {}, {}},
      {{"0c 20 51 71 12 34 56 07"}, {}, {{7, 56, 34, 12, false}}},
      {{"0c 20 51 71 69 59 59 23"}, {}, {{23, 59, 59, 29, true}}},
      {{"0c 20 51 71 92 b4 d6 c1"}, {}, {{1, 56, 34, 12, false}}},  // flags of the tape
      {{"0c 20 51 71 ff ff ff ff"}, {}, {}},
      {{"0c 20 51 71 0a 00 00 00"}, {}, {}},
      {{"0c 20 51 71 00 00 00 24"}, {}, {}},
      {{"0c 20 51 72 00 00 00 00"}, {}, {}},
      {{"0c 20 51 71 00 00 00"}, {}, {}},
      {{"0a 20 51 71 12 34 56 07"}, {}, {}},
      {{"0c 20 57 71 12 34 56 07", ""}, {}, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.answers.front());
    EXPECT_EQ(AvcTransport(std::make_shared<ScriptedUnit>(row.answers)).Controls(), row.controls);
    EXPECT_EQ(AvcTransport(std::make_shared<ScriptedUnit>(row.answers)).TimeCode(), row.timeCode);
  }
}

TEST(AvcTransport, ASilentUnitHoldsUpNoCallerForLong) {
  /// Takes all the time that it gets.
  class SilentUnit final : public FcpChannel {
    std::optional<Bytes> Transact(std::span<const std::uint8_t>,
                                  std::chrono::milliseconds limit) override {
      EXPECT_FALSE(inUse_.exchange(true)) << "used by two threads at a time";
      std::this_thread::sleep_for(limit);
      inUse_ = false;
      return std::nullopt;
    }
    std::atomic<bool> inUse_ = false;
  };
  AvcTransport transport(std::make_shared<SilentUnit>());
  std::vector<std::jthread> threads;
  for (const long speed : {-19000, 0, 10000}) {
    threads.emplace_back([&transport, speed] {
      const auto start = Clock::now();
      transport.SetControls({speed, speed > 0 ? 1u : 0u});
      EXPECT_LT(Clock::now() - start, 1500ms);
      EXPECT_EQ(transport.Controls(), std::nullopt);
      EXPECT_EQ(transport.TimeCode(), std::nullopt);
      EXPECT_LT(Clock::now() - start, 3500ms);
    });
  }
}

}  // namespace
