// SPDX-License-Identifier: MIT
#include "platform/simulated/simulatedprovider.h"

#include <glib.h>

#include <algorithm>
#include <string>
#include <utility>

#include "platform/simulated/simulateddevice.h"

namespace {

using Kind = SimulatedDescription::Kind;

/// Unlike for any two devices: the number tells those of one kind and name apart.
std::string UniqueId(const SimulatedDescription& device, int number) {
  std::string id = device.kind == Kind::Camera      ? "simulated:camera"
                   : device.kind == Kind::Camcorder ? "simulated:camcorder"
                                                    : "simulated:microphone";
  if (number > 1) id.append("#").append(std::to_string(number));
  return id.append(":").append(device.name);
}

class SimulatedProvider final : public DeviceProvider {
 public:
  explicit SimulatedProvider(const SimulatedDescriptions& descriptions) {
    const auto& devices = descriptions.devices;
    for (auto device = devices.begin(); device != devices.end(); ++device) {
      const auto sameAsThis = [&](const SimulatedDescription& other) {
        return other.kind == device->kind && other.name == device->name;
      };
      const auto number = 1 + std::count_if(devices.begin(), device, sameAsThis);
      devices_.push_back(
          MakeRetained<SimulatedDevice>(*device, UniqueId(*device, static_cast<int>(number)),
                                        "simulated " + std::to_string(devices_.size())));
    }
  }

  std::vector<Retained<ListedDevice>> Devices() override { return devices_; }

 private:
  std::vector<Retained<ListedDevice>> devices_;
};

}  // namespace

std::unique_ptr<DeviceProvider> NewSimulatedProvider(std::string_view description) {
  const SimulatedDescriptions descriptions = ParseSimulated(description);
  for (const std::string& entry : descriptions.broken) {
    // Shown to those who ask for it (G_MESSAGES_DEBUG); a library does not write to its host's
    // terminal.
    g_log("zorvex", G_LOG_LEVEL_INFO, "simulated device not understood, left out: %s",
          entry.c_str());
  }
  return std::make_unique<SimulatedProvider>(descriptions);
}
