// SPDX-License-Identifier: MIT
#include "platform/avc/avcframe.h"

namespace avc {

bool IsFinalResponseTo(std::span<const std::uint8_t> command,
                       std::span<const std::uint8_t> response) {
  if (command.size() < 3 || response.size() < 3 || response[1] != command[1]) return false;
  const std::uint8_t code = response[0];
  const bool isRefusal = code == kNotImplemented || code == kRejected;
  // What was asked of a deck and what it was told to do have the same operation in their answers:
  // the state "stopped" and the accepted command "stop". The code tells them apart.
  const bool isAnswer =
      command[0] == kControl ? code == kAccepted : code == kStable || code == kInTransition;
  if (!isRefusal && !isAnswer) return false;
  if (response[2] == command[2]) return true;
  return isAnswer && command[2] == kTransportState && response[2] >= kLoadMedium &&
         response[2] <= kWind;
}

}  // namespace avc
