// SPDX-License-Identifier: MIT
#include "platform/firewire/firewireprovider.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/avc/avcunit.h"
#include "platform/boundedcall.h"
#include "platform/firewire/kernelbus.h"
#include "platform/firewire/unitchannel.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kAnswerLimit{400};
constexpr std::chrono::milliseconds kAskLimit{600};  // also for a driver that hangs
constexpr std::chrono::seconds kAskAgainAfter{10};

}  // namespace

namespace firewire {

FireWireProvider::FireWireProvider(std::shared_ptr<FireWireBus> bus) : bus_(std::move(bus)) {}

std::vector<Retained<ListedDevice>> FireWireProvider::Devices() {
  const std::vector<FireWireNode> nodes = bus_->Nodes();
  std::erase_if(others_, [&](const Other& other) {
    return other.askAgain <= Clock::now() ||
           std::none_of(nodes.begin(), nodes.end(),
                        [&](const FireWireNode& node) { return node.guid == other.guid; });
  });
  for (const FireWireNode& node : nodes) {
    if (!IsKnown(node.guid)) Add(node);
  }
  return {devices_.begin(), devices_.end()};
}

bool FireWireProvider::IsKnown(std::uint64_t guid) const {
  return std::any_of(others_.begin(), others_.end(),
                     [&](const Other& other) { return other.guid == guid; }) ||
         std::any_of(devices_.begin(), devices_.end(),
                     [&](const auto& device) { return device->Guid() == guid; });
}

FireWireProvider::Verdict FireWireProvider::Judge(const FireWireNode& node) const {
  if (!node.isPermitted) return Verdict::Deck;  // as most are
  const auto subunits = std::make_shared<std::optional<avc::Subunits>>();
  const BoundedCall call = RunBounded(kAskLimit, [subunits, bus = bus_, guid = node.guid] {
    UnitChannel channel(bus, guid);
    *subunits = avc::ReadSubunits(channel, kAnswerLimit);
  });
  if (call == BoundedCall::Done && *subunits) {
    if ((*subunits)->hasTapeRecorder) return Verdict::Deck;
    return (*subunits)->hasCamera || node.isEarly ? Verdict::Sender : Verdict::Other;
  }
  return node.isEarly ? Verdict::Sender : Verdict::Silent;
}

void FireWireProvider::Add(const FireWireNode& node) {
  const Verdict verdict = Judge(node);
  if (verdict == Verdict::Deck || verdict == Verdict::Sender) {
    devices_.push_back(MakeRetained<FireWireDevice>(bus_, node, verdict == Verdict::Deck));
  } else {
    const bool isSilent = verdict == Verdict::Silent;
    others_.push_back(
        {node.guid, isSilent ? Clock::now() + kAskAgainAfter : Clock::time_point::max()});
  }
}

std::unique_ptr<DeviceProvider> NewFireWireProvider() {
  return std::make_unique<FireWireProvider>(std::make_shared<KernelBus>());
}

}  // namespace firewire
