// SPDX-License-Identifier: MIT
#include <tuple>
#include <utility>

#include "tests/capture/capturefixture.h"

namespace {

using Controls = QTCaptureDeviceAVCTransportControls;

class TransportTest : public CaptureFixture {};

TEST_F(TransportTest, ModesAreWrittenAndReadAsSpeedAndPlaybackMode) {
  const unsigned long handle = OpenCamera("Deck", QTMediaType::QTMediaTypeMuxed);
  ScriptedDevice& deck = dynamic_cast<ScriptedDevice&>(*platform.devices[0]);
  EXPECT_FALSE(ZRVXDeviceIsTransportAvailable(handle) || ZRVXDeviceIsTransportAvailable(0));
  deck.transport = Controls{10000, 1};
  EXPECT_EQ(ZRVXDeviceGetTransportMode(handle), ZRVXDeviceTransportModeUnavailable);
  EXPECT_EQ(ZRVXDeviceGetTransportMode(0), ZRVXDeviceTransportModeStop);
  deck.hasTransport = true;
  EXPECT_TRUE(ZRVXDeviceIsTransportAvailable(handle));
  deck.transport.reset();  // does not answer
  EXPECT_EQ(ZRVXDeviceGetTransportMode(handle), ZRVXDeviceTransportModeUnavailable);

  const std::tuple<unsigned int, Controls, unsigned int> modes[] = {
      {0, {0, 0}, 0},      {1, {10000, 1}, 1}, {2, {-19000, 0}, 2},  {3, {19000, 0}, 3},
      {4, {-13000, 1}, 4}, {5, {13000, 1}, 5}, {6, {0, 0}, 0},       {7, {0, 0}, 0},
      {1, {10000, 1}, 1},  {~0u, {0, 0}, 0},   {1u << 31, {0, 0}, 0}};
  for (const auto& [mode, written, read] : modes) {
    ZRVXDeviceSetTransportMode(handle, static_cast<ZRVXDeviceTransportMode>(mode));
    EXPECT_EQ(deck.transport, written) << mode;
    EXPECT_EQ(ZRVXDeviceGetTransportMode(handle), read) << mode;
  }
  ZRVXDeviceSetTransportMode(0, ZRVXDeviceTransportModePlay);
  EXPECT_EQ(deck.transport, Controls{});

  const std::pair<Controls, unsigned int> odd[] = {
      {{0, 1}, 0},      {{10000, 0}, 3}, {{1, 0}, 3},         {{-1, 0}, 2},
      {{-10000, 1}, 4}, {{9999, 1}, 5},  {{1, 1}, 5},         {{10001, 1}, 5},
      {{-1, 1}, 4},     {{10000, 2}, 3}, {{-5, 1ul << 32}, 2}};
  for (const auto& [controls, mode] : odd) {
    deck.transport = controls;
    EXPECT_EQ(ZRVXDeviceGetTransportMode(handle), mode)
        << controls.QTCaptureDeviceAVCTransportControlsSpeedKey;
  }
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

TEST(SMPTETime, InMilliseconds) {
  const auto expect = [](const SMPTETime& time, std::int64_t expected) {
    EXPECT_EQ(ZRVXDeviceSMPTE2Milliseconds(&time), static_cast<unsigned int>(expected))
        << time.mType << ' ' << time.mFrames;  // modulo 2 to the 32nd
  };
  const struct {
    std::uint32_t type;
    std::int16_t frames;
    std::int64_t expected;
  } rows[] = {{4, 12, 400}, {4, 29, 967},  {0, 23, 958},   {2, 29, 966},
              {3, 29, 966}, {5, 29, 967},  {6, 59, 983},   {7, 59, 984},
              {8, 12, 480}, {12, 12, 480}, {~0u, 12, 480}, {0, -23, -958}};
  for (const auto& [type, frames, expected] : rows)
    expect({9, 80, 7, type, 3, 0, 0, 0, frames}, expected);
  expect({9, 80, 7, 1, 3, 1, 2, 3, 12}, 3723480);
  expect({9, 80, 7, 1, 3, 1, -2, 3, 0}, 3483000);
  expect({9, 80, 7, 0, 3, 0, 0, -1, 1}, -959);
  expect({9, 80, 7, 1, 3, 32767, 32767, 32767, 32767}, 32767ll * 3661000 + 1310680);
  expect({9, 80, 7, 1, 3, -32768, -32768, -32768, -32768}, -32768ll * 3661000 - 1310720);
}

}  // namespace
