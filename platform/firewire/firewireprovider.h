// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FIREWIRE_FIREWIREPROVIDER_H
#define ZORVEX_PLATFORM_FIREWIRE_FIREWIREPROVIDER_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/deviceprovider.h"
#include "platform/firewire/firewirebus.h"
#include "platform/firewire/firewiredevice.h"

namespace firewire {

/// The camcorders and decks on the bus, looked up anew at each call. A unit is asked once whether
/// it has a tape or a camera, when it is first seen; others on the bus, as sound interfaces, do not
/// become devices. One that does not answer is asked again after a while and holds up the list only
/// for the moment that it is asked in. One that may not be opened is listed, so that the user sees
/// it and finds that it does not open.
class FireWireProvider final : public DeviceProvider {
 public:
  explicit FireWireProvider(std::shared_ptr<FireWireBus> bus);

  std::vector<Retained<ListedDevice>> Devices() override;

 private:
  enum class Verdict { Deck, Sender, Other, Silent };

  bool IsKnown(std::uint64_t guid) const;
  Verdict Judge(const FireWireNode& node) const;
  void Add(const FireWireNode& node);

  const std::shared_ptr<FireWireBus> bus_;
  std::vector<Retained<FireWireDevice>> devices_;
  struct Other {
    std::uint64_t guid;
    std::chrono::steady_clock::time_point askAgain;
  };
  std::vector<Other> others_;  ///< units that are no devices, or did not say so far
};

/// The provider for the machine's own buses.
std::unique_ptr<DeviceProvider> NewFireWireProvider();

}  // namespace firewire

#endif  // ZORVEX_PLATFORM_FIREWIRE_FIREWIREPROVIDER_H
