// SPDX-License-Identifier: MIT
// Whatever a unit answers to AV/C commands, reading it gives nothing or something legal.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

#include "platform/avc/avctransport.h"
#include "platform/avc/avcunit.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

/// Cuts the input into answers: a length, then so many bytes; length 0 is silence.
class FuzzedUnit final : public FcpChannel {
 public:
  explicit FuzzedUnit(std::span<const std::uint8_t> input) : input_(input) {}

  std::optional<std::vector<std::uint8_t>> Transact(std::span<const std::uint8_t> command,
                                                    std::chrono::milliseconds limit) override {
    Require(command.size() >= 4 && command.size() % 4 == 0 && limit.count() > 0);
    Require(command[0] != 0x00 || command[2] != 0xc2);  // it never records
    if (input_.empty()) return std::nullopt;
    const std::size_t length = std::min<std::size_t>(input_[0], input_.size() - 1);
    const auto answer = input_.subspan(1, length);
    input_ = input_.subspan(1 + length);
    if (answer.empty()) return std::nullopt;
    return std::vector<std::uint8_t>(answer.begin(), answer.end());
  }

 private:
  std::span<const std::uint8_t> input_;
};

bool IsWithin(long value, long first, long last) {
  return value >= first && value <= last;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace std::chrono_literals;
  const auto unit = std::make_shared<FuzzedUnit>(std::span(data, size));
  AvcTransport transport(unit);
  for (int i = 0; i < 4; ++i) {
    if (const auto controls = transport.Controls()) {
      Require(IsWithin(controls->QTCaptureDeviceAVCTransportControlsSpeedKey, -19000, 19000));
      Require(controls->QTCaptureDeviceAVCTransportControlsPlaybackModeKey <= 1);
    }
    if (const auto code = transport.TimeCode()) {
      Require(IsWithin(code->hours, 0, 23) && IsWithin(code->minutes, 0, 59));
      Require(IsWithin(code->seconds, 0, 59) && IsWithin(code->frames, 0, 29));
    }
    avc::ReadSubunits(*unit, 1ms);
    avc::ReadOutputSignal(*unit, 1ms);
    transport.SetControls({i % 2 == 0 ? 13000 : 0, 1});
  }
  return 0;
}
