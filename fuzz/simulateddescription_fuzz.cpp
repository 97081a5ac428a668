// SPDX-License-Identifier: MIT
// Whatever stands in ZORVEX_SIMULATED, the devices that come of it can be made.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/simulated/simulateddescription.h"
#include "platform/simulated/simulatedpicture.h"
#include "platform/simulated/utf8.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

using Kind = SimulatedDescription::Kind;

void CheckPicture(const SimulatedDescription& device) {
  for (const int edge : {device.width, device.height}) {
    Require(edge >= 16 && edge <= 8192 && edge % 2 == 0);
  }
  Require(device.rate.denominator >= 1 && device.rate.numerator >= device.rate.denominator);
  Require(device.rate.numerator / device.rate.denominator <= 240);
  Require(SimulatedPicture::HasFormat(device.pixelFormat));
}

void CheckTape(const SimulatedDescription& device) {
  Require(TapeCounter::Supports(device.rate, device.dropFrame));
  const TapeCounter counter(device.rate, device.dropFrame);
  const auto frame = counter.FrameAt(device.tapeStart);
  Require(frame && counter.TimeAt(*frame) == device.tapeStart);
  Require(device.tapeFile.empty() && !device.tape);
  Require(TapeFrames(device) >= 1 && TapeFrames(device) <= 86400u * 60u);
  Require(device.spinUp.count() >= 0 && device.spinUp.count() <= 3'600'000);
}

void CheckDevice(const SimulatedDescription& device) {
  Require(!device.name.empty() && device.name.size() <= 200 && IsPlainUtf8(device.name));
  Require(device.hangFor.count() >= 0 && device.hangFor.count() <= 3'600'000);
  Require(!device.dropFrame || device.kind == Kind::Camcorder);
  Require(device.sampleRate >= 8000 && device.sampleRate <= 192'000);
  Require(device.channels >= 1 && device.channels <= 8);
  if (device.kind != Kind::Microphone) CheckPicture(device);
  if (device.kind == Kind::Camcorder) CheckTape(device);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  // No file is looked at.
  const SimulatedDescriptions result =
      ParseSimulated(text, [](const std::string&) { return nullptr; });
  Require(result.devices.size() >= 3 && result.devices.size() <= 64);
  Require(result.devices[0].name == "Simulated Camera");
  Require(result.devices[1].name == "Simulated Camcorder");
  Require(result.devices[2].name == "Simulated Microphone");
  for (const SimulatedDescription& device : result.devices)
    CheckDevice(device);
  for (const std::string& broken : result.broken) {
    Require(text.find(broken) != std::string_view::npos);
  }
  return 0;
}
