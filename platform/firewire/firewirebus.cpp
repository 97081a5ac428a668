// SPDX-License-Identifier: MIT
#include "platform/firewire/firewirebus.h"

#include <algorithm>
#include <utility>

namespace firewire {

std::optional<FireWireNode> FindNode(FireWireBus& bus, std::uint64_t guid) {
  std::vector<FireWireNode> nodes = bus.Nodes();
  const auto node = std::find_if(nodes.begin(), nodes.end(),
                                 [&](const FireWireNode& other) { return other.guid == guid; });
  if (node == nodes.end()) return std::nullopt;
  return std::move(*node);
}

}  // namespace firewire
