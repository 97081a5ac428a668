// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FIREWIRE_KERNELBUS_H
#define ZORVEX_PLATFORM_FIREWIRE_KERNELBUS_H

#include <filesystem>

#include "platform/firewire/firewirebus.h"

namespace firewire {

/// The buses of the machine as its kernel knows them. The kernel reads each unit's configuration
/// when it appears and keeps it in sysfs; listing reads a few small files there and needs neither
/// permission nor an answer from any unit. Without a bus it is one look for a folder.
///
/// Streams come from the elements of GStreamer's plugin "1394".
class KernelBus final : public FireWireBus {
 public:
  explicit KernelBus(std::filesystem::path units = "/sys/bus/firewire/devices",
                     std::filesystem::path files = "/dev");

  std::vector<FireWireNode> Nodes() override;
  std::unique_ptr<FcpLink> Open(const FireWireNode& node) override;
  GstElement* NewStream(std::uint64_t guid, bool isHdv) override;

 private:
  std::optional<FireWireNode> Read(const std::string& name) const;

  const std::filesystem::path units_;
  const std::filesystem::path files_;
};

}  // namespace firewire

#endif  // ZORVEX_PLATFORM_FIREWIRE_KERNELBUS_H
