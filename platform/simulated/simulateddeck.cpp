// SPDX-License-Identifier: MIT
#include "platform/simulated/simulateddeck.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "platform/avc/avcframe.h"
#include "platform/dv/dvtimecode.h"
#include "platform/simulated/dvtape.h"
#include "platform/simulated/tapedrives.h"

namespace {

using Avc = SimulatedDescription::Avc;
using Frame = std::vector<std::uint8_t>;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Type, address and operation: without these a frame is none, and nobody answers it.
constexpr std::size_t kHeader = 3;
constexpr milliseconds kLate{700};
constexpr std::uint8_t kNoTimeCode = 0xff;

Frame Respond(std::span<const std::uint8_t> command, avc::Response response) {
  Frame frame(command.begin(), command.end());
  frame[0] = response;
  return frame;
}

bool HasOperands(std::span<const std::uint8_t> command, std::initializer_list<std::uint8_t> first) {
  return command.size() >= kHeader + first.size() &&
         std::equal(first.begin(), first.end(), command.begin() + kHeader);
}

std::uint8_t Bcd(int number) {
  return static_cast<std::uint8_t>(number / 10 << 4 | number % 10);
}

}  // namespace

SimulatedDeck::SimulatedDeck(std::shared_ptr<SimulatedHardware> hardware)
    : hardware_(std::move(hardware)) {}

std::optional<std::vector<std::uint8_t>> SimulatedDeck::Transact(
    std::span<const std::uint8_t> command, milliseconds limit) {
  if (!hardware_->IsConnected()) return std::nullopt;  // the bus says so at once
  const auto start = steady_clock::now();
  const Avc quality = hardware_->Description().avc;
  if (quality == Avc::Silent || hardware_->HangsUntil() > start || command.size() < kHeader) {
    std::this_thread::sleep_for(limit);
    return std::nullopt;
  }
  if (quality == Avc::Reject) return Respond(command, avc::kRejected);
  Frame answer = Answer(command);
  switch (quality) {
    case Avc::Late:
      std::this_thread::sleep_for(std::min(kLate, limit));
      return limit < kLate ? std::nullopt : std::optional(std::move(answer));
    case Avc::Garbage:
      return Garbage();
    case Avc::Short:
      // One byte more each time, until only the last one is missing.
      cut_ = cut_ + 1 < answer.size() ? cut_ + 1 : 0;
      answer.resize(cut_);
      return answer;
    default:
      return answer;
  }
}

Frame SimulatedDeck::Answer(std::span<const std::uint8_t> command) {
  if (command[1] == avc::kUnit) return AnswerUnit(command);
  if (command[1] == avc::kTapeRecorder && command.size() > kHeader) {
    if (command[0] == avc::kStatus) return AnswerStatus(command);
    if (command[0] == avc::kControl) return AnswerControl(command);
  }
  return Respond(command, avc::kNotImplemented);
}

/// Unit and subunits: a tape recorder, which has the number of the address that it answers to.
Frame SimulatedDeck::AnswerUnit(std::span<const std::uint8_t> command) const {
  Frame frame(command.begin(), command.end());
  frame[0] = avc::kNotImplemented;
  if (command[0] != avc::kStatus || command.size() < kHeader + 5) return frame;
  if (command[2] == avc::kUnitInfo) {
    std::ranges::copy(Frame{0x07, avc::kTapeRecorder, 0xff, 0xff, 0xff}, frame.begin() + kHeader);
    frame[0] = avc::kStable;
  } else if (command[2] == avc::kSubunitInfo && (command[kHeader] & 0x70) == 0) {
    std::ranges::copy(Frame{avc::kTapeRecorder, 0xff, 0xff, 0xff}, frame.begin() + kHeader + 1);
    frame[0] = avc::kStable;
  }
  return frame;
}

Frame SimulatedDeck::AnswerStatus(std::span<const std::uint8_t> command) const {
  if (command[2] == avc::kTransportState && HasOperands(command, {avc::kTransportStateQuery})) {
    return TransportState();
  }
  if (command[2] == avc::kTimeCode && HasOperands(command, {avc::kTimeCodeStatus})) {
    return TimeCode();
  }
  if (command[2] == avc::kMediumInfo) {
    // A DV cassette that is protected against recording.
    return {avc::kStable, avc::kTapeRecorder, avc::kMediumInfo, 0x31, 0x01};
  }
  return Respond(command, avc::kNotImplemented);
}

Frame SimulatedDeck::AnswerControl(std::span<const std::uint8_t> command) {
  if (command[2] == avc::kRecord) return Respond(command, avc::kRejected);
  const auto drive = TapeDriveFor(command[2], command[kHeader]);
  if (!drive) return Respond(command, avc::kNotImplemented);
  TapeTransport& tape = hardware_->Tape();
  // A stopped tape is not at the head, so there is no frame to step from.
  if (drive->step != 0 && tape.Motion().drive.operation != avc::kPlay) {
    return Respond(command, avc::kRejected);
  }
  tape.Drive(*drive);
  return Respond(command, avc::kAccepted);
}

/// In the place of the operation that was asked with stands the one that the deck is at.
Frame SimulatedDeck::TransportState() const {
  TapeTransport& tape = hardware_->Tape();
  const auto response = tape.IsInTransition() ? avc::kInTransition : avc::kStable;
  const TapeDrive drive = tape.Motion().drive;
  return {response, avc::kTapeRecorder, drive.operation, drive.mode};
}

Frame SimulatedDeck::TimeCode() const {
  Frame frame{avc::kStable, avc::kTapeRecorder, avc::kTimeCode, avc::kTimeCodeStatus,
              kNoTimeCode,  kNoTimeCode,        kNoTimeCode,    kNoTimeCode};
  const std::uint64_t position = hardware_->Tape().Frame();
  TapeTime time;
  if (const auto& tape = hardware_->Description().tape) {
    Frame dv(tape->FrameSize());
    const auto code = tape->Read(position, dv) ? gstreamer::ReadDvTimeCode(dv) : std::nullopt;
    if (!code) return frame;
    time = {code->hours, code->minutes, code->seconds, code->frames};
  } else {
    time = hardware_->TimeCodeOf(position);
  }
  const int fields[] = {time.frames, time.seconds, time.minutes, time.hours};
  std::ranges::transform(fields, frame.begin() + kHeader + 1, Bcd);
  return frame;
}

/// Bytes that mean nothing, in frames of every length that the bus allows and of none.
Frame SimulatedDeck::Garbage() {
  const auto next = [&] {
    random_ = random_ * 1664525 + 1013904223;
    return static_cast<std::uint8_t>(random_ >> 24);
  };
  Frame frame(next() < 128 ? next() % 16 : next() * 2);
  std::ranges::generate(frame, next);
  return frame;
}
