// SPDX-License-Identifier: MIT
#include "platform/avc/avctransport.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

#include "platform/avc/avcframe.h"
#include "platform/avc/speedtable.h"

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;
using Controls = QTCaptureDeviceAVCTransportControls;

/// Of a whole call, the wait for another thread's included.
constexpr milliseconds kLimit{1000};
/// A unit has to answer within 100 ms, be it with an interim response; decks take longer while they
/// thread a tape.
constexpr milliseconds kAnswerLimit{400};
constexpr milliseconds kPollInterval{50};
/// Kept of the limit for the command after a wait.
constexpr milliseconds kReserve{150};

constexpr unsigned long kPlaying = 1;
constexpr long kWindSpeed = 19000;

long WindSpeedOf(std::uint8_t mode) {
  switch (mode) {
    case avc::kFastForward:
      return kWindSpeed;
    case avc::kRewind:
    case avc::kHighSpeedRewind:
      return -kWindSpeed;
    default:
      return 0;
  }
}

std::optional<int> FromBcd(std::uint8_t byte, int limit) {
  const int tens = byte >> 4, ones = byte & 0x0f;
  const int value = tens * 10 + ones;
  if (tens > 9 || ones > 9 || value >= limit) return std::nullopt;
  return value;
}

bool IsRefusal(std::span<const std::uint8_t> response) {
  return response[0] == avc::kRejected || response[0] == avc::kNotImplemented;
}

}  // namespace

AvcTransport::AvcTransport(std::shared_ptr<FcpChannel> channel) : channel_(std::move(channel)) {}

AvcTransport::Turn::Turn(AvcTransport& transport, Deadline deadline) : transport_(transport) {
  std::unique_lock lock(transport_.mutex_);
  isMine_ = transport_.turnEnded_.wait_until(lock, deadline, [&] { return !transport_.isInUse_; });
  if (isMine_) transport_.isInUse_ = true;
}

AvcTransport::Turn::~Turn() {
  if (!isMine_) return;
  const std::lock_guard lock(transport_.mutex_);
  transport_.isInUse_ = false;
  transport_.turnEnded_.notify_one();
}

std::optional<Controls> AvcTransport::Controls() {
  const auto deadline = Clock::now() + kLimit;
  const Turn turn(*this, deadline);
  const auto state = turn ? ReadState(deadline) : std::nullopt;
  if (!state) return std::nullopt;
  switch (state->operation) {
    case avc::kPlay:
      if (const auto speed = avc::SpeedOfPlayMode(state->mode)) return {{*speed, kPlaying}};
      return std::nullopt;
    case avc::kRecord:
      // The deck passes on what it records, so there is a picture.
      return {{state->mode == avc::kRecordPause ? 0 : 10000, kPlaying}};
    case avc::kWind:
      return {{WindSpeedOf(state->mode), 0}};
    default:
      return {{0, 0}};  // the cassette comes or goes
  }
}

void AvcTransport::SetControls(const ::QTCaptureDeviceAVCTransportControls& controls) {
  const auto deadline = Clock::now() + kLimit;
  const Turn turn(*this, deadline);
  if (!turn) return;
  const long speed = controls.QTCaptureDeviceAVCTransportControlsSpeedKey;
  if (controls.QTCaptureDeviceAVCTransportControlsPlaybackModeKey != kPlaying) {
    if (speed == 0) {
      Command(avc::kWind, avc::kStop, deadline);
    } else {
      Wind(speed, deadline);
    }
  } else if (speed == 0) {
    Pause(deadline);
  } else {
    Play(speed, deadline);
  }
}

std::optional<AvcTimeCode> AvcTransport::TimeCode() {
  constexpr std::uint8_t kCommand[] = {
      avc::kStatus, avc::kTapeRecorder, avc::kTimeCode, avc::kTimeCodeStatus, 0xff, 0xff, 0xff,
      0xff};
  const auto deadline = Clock::now() + kLimit;
  const Turn turn(*this, deadline);
  const auto answer = turn ? Transact(kCommand, deadline) : std::nullopt;
  if (!answer || answer->size() < std::size(kCommand) || IsRefusal(*answer)) return std::nullopt;
  if ((*answer)[3] != avc::kTimeCodeStatus) return std::nullopt;
  // Decks hand on the bytes as they are on the tape, with flags in the bits above the digits.
  // "None" (FFh) stays an illegal number without them.
  const auto frames = FromBcd((*answer)[4] & 0x3f, 30);
  const auto seconds = FromBcd((*answer)[5] & 0x7f, 60);
  const auto minutes = FromBcd((*answer)[6] & 0x7f, 60);
  const auto hours = FromBcd((*answer)[7] & 0x3f, 24);
  if (!frames || !seconds || !minutes || !hours) return std::nullopt;
  return AvcTimeCode{*hours, *minutes, *seconds, *frames, ((*answer)[4] & 0x40) != 0};
}

/// The frame that ends the command; none when the deck gives no such frame in time. A frame is lost
/// when the bus is reset at the wrong moment, so a command without an answer is sent once more,
/// except where it would mean something else then.
std::optional<AvcTransport::Bytes> AvcTransport::Transact(std::span<const std::uint8_t> command,
                                                          Deadline deadline) {
  constexpr int kTries = 2;
  const bool toggles = command[2] == avc::kPlay && command[3] == avc::kForwardPause;
  for (int tries = toggles ? 1 : kTries; tries > 0; --tries) {
    const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
    if (left <= milliseconds::zero()) break;
    auto answer = channel_->Transact(command, std::min(left, kAnswerLimit));
    if (answer && avc::IsFinalResponseTo(command, *answer)) return answer;
  }
  return std::nullopt;
}

AvcTransport::Outcome AvcTransport::Command(std::uint8_t operation, std::uint8_t mode,
                                            Deadline deadline) {
  const std::uint8_t command[] = {avc::kControl, avc::kTapeRecorder, operation, mode};
  const auto answer = Transact(command, deadline);
  if (!answer) return Outcome::NoAnswer;
  return answer->front() == avc::kAccepted ? Outcome::Accepted : Outcome::Refused;
}

std::optional<AvcTransport::State> AvcTransport::ReadState(Deadline deadline) {
  constexpr std::uint8_t kCommand[] = {avc::kStatus, avc::kTapeRecorder, avc::kTransportState,
                                       avc::kTransportStateQuery};
  const auto answer = Transact(kCommand, deadline);
  if (!answer || answer->size() < 4 || IsRefusal(*answer)) return std::nullopt;
  const std::uint8_t operation = (*answer)[2];
  if (operation < avc::kLoadMedium || operation > avc::kWind) return std::nullopt;
  return State{operation, (*answer)[3], answer->front() == avc::kInTransition};
}

/// Sent also when the tape plays already: as the plain command it changes nothing then.
void AvcTransport::Play(long speed, Deadline deadline) {
  const std::uint8_t mode = avc::PlayModeForSpeed(speed);
  if (Command(avc::kPlay, mode, deadline) != Outcome::Refused) return;
  // Camcorders have one speed for searching and one for slow motion: the last ones of the row.
  const std::uint8_t substitute = avc::LastOfRow(mode);
  if (substitute != mode) Command(avc::kPlay, substitute, deadline);
}

/// The command toggles on many decks: one that pauses already is left alone.
void AvcTransport::Pause(Deadline deadline) {
  const auto state = ReadState(deadline);
  if (state && state->operation == avc::kPlay && avc::SpeedOfPlayMode(state->mode) == 0) return;
  Command(avc::kPlay, avc::kForwardPause, deadline);
}

void AvcTransport::Wind(long direction, Deadline deadline) {
  const auto isMoving = [](const State& state) {
    return state.changes || state.operation == avc::kPlay || state.operation == avc::kRecord;
  };
  auto state = ReadState(deadline);
  if (state && isMoving(*state)) {
    Command(avc::kWind, avc::kStop, deadline);
    while (state && isMoving(*state) && Clock::now() < deadline - kReserve) {
      std::this_thread::sleep_for(kPollInterval);
      state = ReadState(deadline - kReserve);
    }
  }
  Command(avc::kWind, direction < 0 ? avc::kRewind : avc::kFastForward, deadline);
}
