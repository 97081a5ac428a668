// SPDX-License-Identifier: MIT
#include "platform/avc/avcunit.h"

#include <cstddef>
#include <span>
#include <vector>

#include "platform/avc/avcframe.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

/// The answer with at least `size` bytes that says what was asked.
std::optional<Bytes> Ask(FcpChannel& channel, std::span<const std::uint8_t> command,
                         std::size_t size, std::chrono::milliseconds limit) {
  auto answer = channel.Transact(command, limit);
  if (!answer || answer->size() < size || !avc::IsFinalResponseTo(command, *answer)) {
    return std::nullopt;
  }
  if (answer->front() != avc::kStable) return std::nullopt;
  return answer;
}

}  // namespace

namespace avc {

std::optional<Subunits> ReadSubunits(FcpChannel& channel, std::chrono::milliseconds limit) {
  // The first page has four subunits; nobody has more kinds than that.
  constexpr std::uint8_t kFirstPage = 0x07, kNone = 0xff;
  constexpr std::uint8_t kCommand[] = {kStatus, kUnit, kSubunitInfo, kFirstPage,
                                       kNone,   kNone, kNone,        kNone};
  constexpr unsigned kTapeRecorderType = 4, kCameraType = 7;
  const auto answer = Ask(channel, kCommand, std::size(kCommand), limit);
  if (!answer) return std::nullopt;
  Subunits subunits;
  for (const std::uint8_t entry : std::span(*answer).subspan(4, 4)) {
    if (entry == kNone) continue;
    subunits.hasTapeRecorder |= entry >> 3 == kTapeRecorderType;
    subunits.hasCamera |= entry >> 3 == kCameraType;
  }
  return subunits;
}

std::optional<Signal> ReadOutputSignal(FcpChannel& channel, std::chrono::milliseconds limit) {
  constexpr std::uint8_t kCommand[] = {kStatus, kTapeRecorder, kOutputSignalMode, 0xff};
  const auto answer = Ask(channel, kCommand, std::size(kCommand), limit);
  if (!answer) return std::nullopt;
  switch ((*answer)[3]) {
    case 0x00:
      return Signal::Dv60;
    case 0x80:
      return Signal::Dv50;
    case 0x10:
    case 0x1a:
      return Signal::Hdv60;
    case 0x90:
    case 0x9a:
      return Signal::Hdv50;
    default:
      return std::nullopt;
  }
}

}  // namespace avc
