// SPDX-License-Identifier: MIT
// The transport of a simulated camcorder, byte by byte: its answers and its tape over time.
#include <gst/gst.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/gstreamer/sourcedevice.h"
#include "platform/simulated/simulateddeck.h"
#include "platform/simulated/simulatedprovider.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

/// A deck whose time is a variable.
struct Bench {
  explicit Bench(const std::string& options)
      : hardware(std::make_shared<SimulatedHardware>(
            ParseSimulated("camcorder:" + options).devices.at(1), [this] { return now; })),
        deck(hardware) {}

  Bytes Ask(const Bytes& command) { return deck.Transact(command, 1ms).value_or(Bytes{}); }

  std::chrono::nanoseconds now = 1h;
  const std::shared_ptr<SimulatedHardware> hardware;
  SimulatedDeck deck;
};

/// A tape as docs/simulated.md describes it, moved tick by tick: 25 frames in a second.
struct Oracle {
  static constexpr milliseconds kTick{40}, kSpinUp{150};
  const double length;
  std::uint8_t operation = 0xC4, mode = 0x60;
  double speed = 0, position = 0;
  milliseconds busy{0}, sinceTick{0};

  void Pass(milliseconds time) {
    for (; time > 0ms; time -= 1ms) {
      if (busy > 0ms) {
        busy -= 1ms;
        if (busy == 0ms && speed > 0 && position > length - 1e-6) Rest();
        continue;
      }
      sinceTick += 1ms;
      if (sinceTick < kTick) continue;
      sinceTick = 0ms;
      position += speed;
      if (speed > 0 && position > length - 1e-6) position = length, Rest();
      if (speed < 0 && position < -1e-6) position = 0, Rest();
    }
  }
  void Rest() { operation = 0xC4, mode = 0x60, speed = 0; }

  /// The response code to a control command.
  std::uint8_t Control(std::uint8_t op, std::uint8_t wanted) {
    static const std::map<int, double> speeds = {
        {0xC37D, 0},       {0xC36D, 0},       {0xC330, 0},   {0xC340, 0},      {0xC375, 1},
        {0xC365, -1},      {0xC460, 0},       {0xC475, 50},  {0xC465, -50},    {0xC445, -100},
        {0xC331, 1 / 32.}, {0xC332, 1 / 16.}, {0xC333, 0.1}, {0xC334, 1 / 8.}, {0xC335, 0.2},
        {0xC336, 1 / 3.},  {0xC337, 0.5},     {0xC338, 1},   {0xC339, 1.5},    {0xC33A, 2},
        {0xC33B, 3},       {0xC33C, 4},       {0xC33D, 5},   {0xC33E, 8},      {0xC33F, 10}};
    const bool isReverse = op == 0xC3 && wanted > 0x40 && wanted < 0x50;
    const auto entry = speeds.find(op << 8 | (isReverse ? wanted - 0x10 : wanted));
    if (op == 0xC2) return 0x0A;
    if (entry == speeds.end()) return 0x08;
    const int step = op != 0xC3 ? 0 : wanted == 0x30 ? 1 : wanted == 0x40 ? -1 : 0;
    if (step != 0 && operation != 0xC3) return 0x0A;
    const std::uint8_t reached = step != 0 ? 0x7D : wanted;
    const double next = isReverse ? -entry->second : entry->second;
    if (op == operation && reached == mode && step == 0 && !lastWasStep) return 0x09;
    lastWasStep = step != 0;
    operation = op, mode = reached, speed = next;
    busy = kSpinUp, sinceTick = 0ms;
    if (speed < 0 || step != 0) position = std::min(position, length - 1);
    position = std::min(std::max(position + step, 0.0), step != 0 ? length - 1 : length);
    return 0x09;
  }
  bool lastWasStep = false;

  int Frame() const {
    return static_cast<int>(std::min(std::max(position + 1e-6, 0.0), length - 1));
  }
};

std::uint8_t Bcd(int value) {
  return static_cast<std::uint8_t>(value / 10 * 16 + value % 10);
}

TEST(SimulatedDeck, AgreesWithASlowTapeOverAnyCommands) {
  gst_init(nullptr, nullptr);
  std::mt19937 random(7);
  Bench bench("length=60,start=00:59:50:00");
  Oracle oracle{1500};
  const std::uint8_t modes[] = {0x75, 0x75, 0x65, 0x7D, 0x6D, 0x60, 0x45, 0x30, 0x40, 0x38, 0x48};
  for (int round = 0; round < 20000; ++round) {
    const milliseconds pause(random() % 4 == 0 ? random() % 3000 : random() % 200);
    bench.now += pause;
    oracle.Pass(pause);
    const auto operation =
        static_cast<std::uint8_t>(0xC2 + (random() % 12 + 10) / 11 % 3 + (random() % 2));
    const auto mode = static_cast<std::uint8_t>(
        random() % 3 == 0 ? modes[random() % std::size(modes)] : 0x2C + random() % 0x54);
    if (random() % 3 == 0) {
      const Bytes command{0x00, 0x20, operation, mode};
      Bytes expected = command;
      expected[0] = operation > 0xC4 ? 0x08 : oracle.Control(operation, mode);
      ASSERT_EQ(bench.Ask(command), expected) << "round " << round;
    }
    ASSERT_EQ(bench.Ask({0x01, 0x20, 0xD0, 0x7F}),
              (Bytes{static_cast<std::uint8_t>(oracle.busy > 0ms ? 0x0B : 0x0C), 0x20,
                     oracle.operation, oracle.mode}))
        << "round " << round;
    const int frame = 25 * (59 * 60 + 50) + oracle.Frame();
    ASSERT_EQ(bench.Ask({0x01, 0x20, 0x51, 0x71, 0xFF, 0xFF, 0xFF, 0xFF}),
              (Bytes{0x0C, 0x20, 0x51, 0x71, Bcd(frame % 25), Bcd(frame / 25 % 60),
                     Bcd(frame / 1500 % 60), Bcd(frame / 90000)}))
        << "round " << round << " position " << oracle.position;
  }
}

TEST(SimulatedDeck, AnswersEveryFrame) {
  gst_init(nullptr, nullptr);
  const struct {
    Bytes command, answer;
  } cases[] = {
      {{0x01, 0xFF, 0x30, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
       {0x0C, 0xFF, 0x30, 0x07, 0x20, 0xFF, 0xFF, 0xFF}},
      {{0x01, 0xFF, 0x31, 0x07, 0xFF, 0xFF, 0xFF, 0xFF},
       {0x0C, 0xFF, 0x31, 0x07, 0x20, 0xFF, 0xFF, 0xFF}},
      {{0x01, 0xFF, 0x31, 0x17, 0xFF, 0xFF, 0xFF, 0xFF},
       {0x08, 0xFF, 0x31, 0x17, 0xFF, 0xFF, 0xFF, 0xFF}},
      {{0x01, 0xFF, 0x30}, {0x08, 0xFF, 0x30}},
      {{0x00, 0xFF, 0x30, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
       {0x08, 0xFF, 0x30, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
      {{0x01, 0x20, 0xDA, 0x7F, 0x7F}, {0x0C, 0x20, 0xDA, 0x31, 0x01}},
      {{0x00, 0x20, 0xC2, 0x75}, {0x0A, 0x20, 0xC2, 0x75}},  // protected against recording
      {{0x00, 0x20, 0xC3, 0x30}, {0x0A, 0x20, 0xC3, 0x30}},  // stopped: no frame to step from
      {{0x00, 0x20, 0xC1, 0x60}, {0x08, 0x20, 0xC1, 0x60}},
      {{0x00, 0x20, 0xC3}, {0x08, 0x20, 0xC3}},
      {{0x00, 0x38, 0xC3, 0x75}, {0x08, 0x38, 0xC3, 0x75}},
      {{0x03, 0x20, 0xD0, 0x7F}, {0x08, 0x20, 0xD0, 0x7F}},
      {{0x01, 0x20, 0x51}, {0x08, 0x20, 0x51}},
      {{0x00, 0x20, 0x51, 0x20, 0, 0, 0, 1}, {0x08, 0x20, 0x51, 0x20, 0, 0, 0, 1}},
      {{0x00, 0x20}, {}},
      {{}, {}},
  };
  Bench bench("");
  for (const auto& [command, answer] : cases)
    EXPECT_EQ(bench.Ask(command), answer) << testing::PrintToString(command);
}

using Speed = QTCaptureDeviceAVCTransportControls;

TEST(SimulatedDeck, IsATransportThatNoBadAnswerHolds) {
  gst_init(nullptr, nullptr);
  const struct {
    const char* options;
    bool answers;
    bool plays;  ///< the command works nevertheless
  } cases[] = {
      {"avc=works", true, true},
      {"avc=reject", false, false},
      {"avc=silent", false, false},
      {"avc=garbage", false, true},
      {"avc=short", false, true},
      {"avc=late", false, true},
      {"open=hang,hang-for=2", false, false},
  };
  for (const auto& [options, answers, plays] : cases) {
    const auto provider = NewSimulatedProvider(std::string("camcorder:spin-up=0,") + options);
    auto& device = static_cast<SourceDevice&>(*provider->Devices().at(1));
    EXPECT_TRUE(device.DeviceAttributes().QTCaptureDeviceAVCTransportControlsAttribute);
    std::optional<std::thread> opening;
    if (std::string_view(options).starts_with("open")) {
      opening.emplace([&] { device.Open(); });
      std::this_thread::sleep_for(300ms);  // into the hanging call
    }
    const auto start = steady_clock::now();
    EXPECT_FALSE(device.IsMediaExpected());
    device.SetAVCTransportControlsAttribute({10000, 1});
    EXPECT_EQ(device.IsMediaExpected(), plays) << options;
    const auto controls = device.AVCTransportControlsAttribute();
    EXPECT_EQ(controls.has_value(), answers) << options;
    EXPECT_EQ(controls.value_or(Speed{10000, 1}), (Speed{10000, 1}));
    EXPECT_LT(steady_clock::now() - start, 4s) << options;
    if (opening) opening->join();
  }
}

TEST(SimulatedDeck, PlaysFromTheFirstOpeningWhereThatIsAskedFor) {
  gst_init(nullptr, nullptr);
  const auto provider = NewSimulatedProvider("camcorder:transport=play");
  auto& device = static_cast<SourceDevice&>(*provider->Devices().at(1));
  EXPECT_EQ(device.AVCTransportControlsAttribute(), (Speed{0, 0}));
  ASSERT_TRUE(device.Open());
  EXPECT_EQ(device.AVCTransportControlsAttribute(), (Speed{10000, 1}));
  // Only the first one; and it is a deck to command still.
  device.SetAVCTransportControlsAttribute({0, 0});
  device.Close();
  ASSERT_TRUE(device.Open());
  EXPECT_FALSE(device.IsMediaExpected());
  device.SetAVCTransportControlsAttribute({19000, 0});
  EXPECT_EQ(device.AVCTransportControlsAttribute(), (Speed{19000, 0}));
}

}  // namespace
