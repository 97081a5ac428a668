// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AVC_FCPCHANNEL_H
#define ZORVEX_PLATFORM_AVC_FCPCHANNEL_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// Carries AV/C frames to one unit and its answers back (IEC 61883-1, function control protocol).
/// Behind it is a deck on the bus, or one that needs no hardware. Used by one thread at a time.
class FcpChannel {
 public:
  virtual ~FcpChannel() = default;

  /// Sends a command frame and waits for the answer to it, at most for `limit`: response frames of
  /// other commands and interim ones do not count. None when the unit does not answer in time, is
  /// gone, or gives no frame.
  virtual std::optional<std::vector<std::uint8_t>> Transact(std::span<const std::uint8_t> command,
                                                            std::chrono::milliseconds limit) = 0;
};

#endif  // ZORVEX_PLATFORM_AVC_FCPCHANNEL_H
