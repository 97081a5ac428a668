// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FIREWIRE_UNITCHANNEL_H
#define ZORVEX_PLATFORM_FIREWIRE_UNITCHANNEL_H

#include <cstdint>
#include <memory>

#include "platform/avc/fcpchannel.h"
#include "platform/firewire/firewirebus.h"

namespace firewire {

/// AV/C frames to a unit on the bus, wherever it is at the moment.
///
/// The unit is looked up and opened for each exchange: a bus reset or a new plug needs no
/// bookkeeping then, and no answers to other programs' commands pile up between two exchanges. An
/// exchange that a bus reset hits ends at once without an answer.
class UnitChannel final : public FcpChannel {
 public:
  UnitChannel(std::shared_ptr<FireWireBus> bus, std::uint64_t guid);

  std::optional<std::vector<std::uint8_t>> Transact(std::span<const std::uint8_t> command,
                                                    std::chrono::milliseconds limit) override;

 private:
  const std::shared_ptr<FireWireBus> bus_;
  const std::uint64_t guid_;
};

}  // namespace firewire

#endif  // ZORVEX_PLATFORM_FIREWIRE_UNITCHANNEL_H
