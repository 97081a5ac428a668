// SPDX-License-Identifier: MIT
#include "platform/captureplatform.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/devicelist.h"
#include "platform/firewire/firewireprovider.h"
#include "platform/gstreamer/gstreamerplatform.h"
#include "platform/simulated/simulatedprovider.h"
#include "platform/sound/soundprovider.h"
#include "platform/systemplatform.h"
#include "platform/v4l2/v4l2provider.h"

namespace {

std::string_view Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// The one table of backends. ZORVEX_DEVICES chooses: "system" (also when it is not set or says
/// anything else) lists real devices, "simulated" those that need no hardware, "all" both.
std::vector<std::unique_ptr<DeviceProvider>> Providers() {
  const std::string_view wanted = Environment("ZORVEX_DEVICES");
  std::vector<std::unique_ptr<DeviceProvider>> providers;
  if (!gstreamer::Initialise()) return providers;
  if (wanted != "simulated") {
    providers.push_back(std::make_unique<gstreamer::V4L2Provider>());
    providers.push_back(std::make_unique<gstreamer::SoundProvider>());
    providers.push_back(firewire::NewFireWireProvider());
  }
  if (wanted == "simulated" || wanted == "all") {
    providers.push_back(NewSimulatedProvider(Environment("ZORVEX_SIMULATED")));
  }
  return providers;
}

std::atomic<CapturePlatform*> installed = nullptr;

}  // namespace

OSStatus AudioConverterNew(const AudioStreamBasicDescription* inSourceFormat,
                           const AudioStreamBasicDescription* inDestinationFormat,
                           AudioConverterRef* outAudioConverter) {
  *outAudioConverter = nullptr;
  return CapturePlatform::Current().NewAudioConverter(*inSourceFormat, *inDestinationFormat,
                                                      outAudioConverter);
}

std::vector<Retained<QTCaptureDevice>> SystemPlatform::InputDevices() {
  // Never freed: devices may be in use by threads of the platform until the process is gone.
  static DeviceList* const list = new DeviceList(Providers());
  return list->Devices();
}

CapturePlatform& CapturePlatform::Current() {
  if (CapturePlatform* platform = installed.load(std::memory_order_acquire)) return *platform;
  static SystemPlatform* const system = new SystemPlatform;
  return *system;
}

void CapturePlatform::Install(CapturePlatform* platform) {
  installed.store(platform, std::memory_order_release);
}
