// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_TESTSOURCE_H
#define ZORVEX_TESTS_SUPPORT_TESTSOURCE_H

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/captureplatform.h"
#include "platform/devicelist.h"
#include "platform/gstreamer/gstreamerplatform.h"
#include "platform/gstreamer/sourcedevice.h"
#include "platform/simulated/simulatedprovider.h"

/// A device whose source is any element of GStreamer, in one fixed mode: shows what the session
/// itself does, without a device's own timing.
class TestSourceDevice : public SourceDevice {
 public:
  /// `element` is a factory name with properties, or several in a row, `caps` the mode.
  TestSourceDevice(std::string element, std::string caps)
      : SourceDevice("Test Source", "test:source", "test:source"),
        description_(std::move(element)),
        caps_(std::move(caps)) {
    SetDisplayName(Name());
  }

  bool HasMediaType(QTMediaType mediaType) const override {
    return mediaType == QTMediaType::QTMediaTypeVideo;
  }
  bool IsConnected() const override { return true; }
  bool IsInUseByAnotherApplication() const override { return false; }

 protected:
  bool OpenDevice() override { return true; }
  void CloseDevice() override {}
  Source MakeSource(const CVPixelBufferAttributes&) override {
    return {gst_parse_bin_from_description(description_.c_str(), TRUE, nullptr),
            gst_caps_from_string(caps_.c_str())};
  }
  void SourceEnded() override {}

 private:
  const std::string description_;
  const std::string caps_;
};

/// The system's sessions on devices of the test's own.
class TestSourcePlatform : public CapturePlatform {
 public:
  explicit TestSourcePlatform(std::vector<Retained<QTCaptureDevice>> devices)
      : devices_(std::move(devices)) {
    gstreamer::Initialise();
    Install(this);
  }
  ~TestSourcePlatform() override { Install(nullptr); }

  bool HasClass(const char*) const override { return false; }
  std::vector<Retained<QTCaptureDevice>> InputDevices() override { return devices_; }
  Retained<QTCaptureSession> NewSession() override { return gstreamer::NewSession(); }
  Retained<QTCaptureDeviceInput> NewDeviceInput(QTCaptureDevice* device) override {
    return gstreamer::NewDeviceInput(device);
  }
  Retained<QTCaptureDecompressedVideoOutput> NewDecompressedVideoOutput() override {
    return gstreamer::NewDecompressedVideoOutput();
  }
  Retained<QTCaptureMovieFileOutput> NewMovieFileOutput() override {
    return gstreamer::NewMovieFileOutput();
  }

 private:
  const std::vector<Retained<QTCaptureDevice>> devices_;
};

/// The system's sessions on simulated devices, described as in ZORVEX_SIMULATED.
class SimulatedPlatform final : public TestSourcePlatform {
 public:
  explicit SimulatedPlatform(std::string_view description = {})
      : TestSourcePlatform(Devices(description)) {}

 private:
  static std::vector<Retained<QTCaptureDevice>> Devices(std::string_view description) {
    std::vector<std::unique_ptr<DeviceProvider>> providers;
    providers.push_back(NewSimulatedProvider(description));
    return DeviceList(std::move(providers)).Devices();
  }
};

#endif  // ZORVEX_TESTS_SUPPORT_TESTSOURCE_H
