// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AVC_AVCFRAME_H
#define ZORVEX_PLATFORM_AVC_AVCFRAME_H

#include <cstdint>
#include <span>

/// \file
/// The bytes of AV/C frames, as the AV/C Digital Interface Command Set (General Specification 4.1
/// and Tape Recorder/Player Subunit 2.1) gives them. A frame is: command type or response, address
/// of the subunit, operation, operands.
namespace avc {

/// First byte of a command.
enum CommandType : std::uint8_t {
  kControl = 0x00,
  kStatus = 0x01,
  kNotify = 0x03,
};

/// First byte of a response.
enum Response : std::uint8_t {
  kNotImplemented = 0x08,
  kAccepted = 0x09,
  kRejected = 0x0a,
  kInTransition = 0x0b,
  kStable = 0x0c,  ///< also: implemented
  kChanged = 0x0d,
  kInterim = 0x0f,
};

/// Second byte: subunit type 4, tape recorder or player, number 0.
constexpr std::uint8_t kTapeRecorder = 0x20;
/// Second byte of what concerns the unit as a whole.
constexpr std::uint8_t kUnit = 0xff;

/// Third byte.
enum Operation : std::uint8_t {
  kUnitInfo = 0x30,
  kSubunitInfo = 0x31,
  kTimeCode = 0x51,         ///< operand 71h: the position of the tape
  kRelativeCounter = 0x57,  ///< operand 71h
  kOutputSignalMode = 0x78,
  kLoadMedium = 0xc1,
  kRecord = 0xc2,
  kPlay = 0xc3,
  kWind = 0xc4,
  kTransportState = 0xd0,  ///< operand 7Fh
  kMediumInfo = 0xda,
};

/// Operands of kPlay.
enum PlayMode : std::uint8_t {
  kNextFrame = 0x30,
  kSlowestForward = 0x31,  ///< to 36h: slower than normal, 37h slow, 38h normal
  kForwardAtNormalSpeed = 0x38,
  kFastestForward = 0x3f,  ///< from 39h on faster than normal
  kPreviousFrame = 0x40,
  kSlowestReverse = 0x41,
  kReverseAtNormalSpeed = 0x48,
  kFastestReverse = 0x4f,
  kReverse = 0x65,
  kReversePause = 0x6d,
  kForward = 0x75,
  kForwardPause = 0x7d,
};

/// Operands of kWind.
enum WindMode : std::uint8_t {
  kHighSpeedRewind = 0x45,
  kStop = 0x60,
  kRewind = 0x65,
  kFastForward = 0x75,
};

constexpr std::uint8_t kTransportStateQuery = 0x7f;
constexpr std::uint8_t kTimeCodeStatus = 0x71;
constexpr std::uint8_t kTimeCodeSearch = 0x20;

/// Operand of kRecord: the same byte as avc::kForwardPause is its pause. The state only.
constexpr std::uint8_t kRecordPause = 0x7d;

/// Whether a frame is the answer to a command that ends it, and neither an interim one nor that of
/// another command. The answer to a transport state query has the state's operation (load, record,
/// play, wind) in place of the query's; everything else repeats the command's.
bool IsFinalResponseTo(std::span<const std::uint8_t> command,
                       std::span<const std::uint8_t> response);

}  // namespace avc

#endif  // ZORVEX_PLATFORM_AVC_AVCFRAME_H
