// SPDX-License-Identifier: MIT
#include "platform/captureplatform.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/audioconverter/linearpcmconverter.h"
#include "platform/devicelist.h"
#include "platform/firewire/firewireprovider.h"
#include "platform/gstreamer/gstreamerplatform.h"
#include "platform/simulated/simulatedprovider.h"
#include "platform/sound/soundprovider.h"
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

/// The platform of this system. Nothing of it exists before it is asked for devices or sessions.
class SystemPlatform final : public CapturePlatform {
 public:
  bool HasClass(const char* name) const override {
    return std::string_view(name) == "QTCaptureDecompressedAudioOutput";
  }

  std::vector<Retained<QTCaptureDevice>> InputDevices() override {
    // Never freed: devices may be in use by threads of the platform until the process is gone.
    static DeviceList* const list = new DeviceList(Providers());
    return list->Devices();
  }

  Retained<QTCaptureSession> NewSession() override { return gstreamer::NewSession(); }
  Retained<QTCaptureDeviceInput> NewDeviceInput(QTCaptureDevice* device) override {
    return gstreamer::NewDeviceInput(device);
  }
  Retained<QTCaptureDecompressedVideoOutput> NewDecompressedVideoOutput() override {
    return gstreamer::NewDecompressedVideoOutput();
  }
  Retained<QTCaptureDecompressedAudioOutput> NewDecompressedAudioOutput() override {
    return gstreamer::NewDecompressedAudioOutput();
  }
  Retained<QTCaptureMovieFileOutput> NewMovieFileOutput() override {
    return gstreamer::NewMovieFileOutput();
  }
  OSStatus NewAudioConverter(const AudioStreamBasicDescription& source,
                             const AudioStreamBasicDescription& destination,
                             AudioConverterRef* converter) override {
    return NewLinearPcmConverter(source, destination, converter);
  }
};

std::atomic<CapturePlatform*> installed = nullptr;

}  // namespace

OSStatus AudioConverterNew(const AudioStreamBasicDescription* inSourceFormat,
                           const AudioStreamBasicDescription* inDestinationFormat,
                           AudioConverterRef* outAudioConverter) {
  *outAudioConverter = nullptr;
  return CapturePlatform::Current().NewAudioConverter(*inSourceFormat, *inDestinationFormat,
                                                      outAudioConverter);
}

CapturePlatform& CapturePlatform::Current() {
  if (CapturePlatform* platform = installed.load(std::memory_order_acquire)) return *platform;
  static SystemPlatform* const system = new SystemPlatform;
  return *system;
}

void CapturePlatform::Install(CapturePlatform* platform) {
  installed.store(platform, std::memory_order_release);
}
