// SPDX-License-Identifier: MIT
#include "platform/firewire/unitchannel.h"

#include <utility>

#include "platform/avc/avcframe.h"

namespace firewire {

UnitChannel::UnitChannel(std::shared_ptr<FireWireBus> bus, std::uint64_t guid)
    : bus_(std::move(bus)), guid_(guid) {}

std::optional<std::vector<std::uint8_t>> UnitChannel::Transact(
    std::span<const std::uint8_t> command, std::chrono::milliseconds limit) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + limit;
  const auto node = FindNode(*bus_, guid_);
  const auto link = node ? bus_->Open(*node) : nullptr;
  if (!link || !link->Send(command)) return std::nullopt;
  while (true) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (left <= std::chrono::milliseconds::zero()) return std::nullopt;
    FcpLink::Incoming incoming = link->Await(left);
    if (incoming.kind == FcpLink::Incoming::Kind::Broken) return std::nullopt;
    if (incoming.kind == FcpLink::Incoming::Kind::Frame && incoming.isFromUnit &&
        avc::IsFinalResponseTo(command, incoming.frame)) {
      return std::move(incoming.frame);
    }
  }
}

}  // namespace firewire
