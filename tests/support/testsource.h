// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_TESTSOURCE_H
#define ZORVEX_TESTS_SUPPORT_TESTSOURCE_H

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/devicelist.h"
#include "platform/gstreamer/gstreamerplatform.h"
#include "platform/gstreamer/sourcedevice.h"
#include "platform/simulated/simulatedprovider.h"
#include "platform/systemplatform.h"

/// A device whose source is any element of GStreamer, in one fixed mode: shows what the session
/// itself does, without a device's own timing.
class TestSourceDevice : public SourceDevice {
 public:
  /// `element` is a factory name with properties, or several in a row (an element at the end, not
  /// caps), `caps` the mode, or empty for the element's own.
  TestSourceDevice(std::string element, std::string caps,
                   QTMediaType mediaType = QTMediaType::QTMediaTypeVideo,
                   const char* name = "Test Source")
      : SourceDevice(name, std::string("test:") + name, name),
        description_(std::move(element)),
        caps_(std::move(caps)),
        mediaType_(mediaType) {
    SetDisplayName(Name());
  }
  /// A muxed device: `pictures` and `sound` each end in a pad of their own.
  static Retained<TestSourceDevice> Muxed(const std::string& pictures, const std::string& sound) {
    auto device =
        MakeRetained<TestSourceDevice>(pictures, std::string(), QTMediaType::QTMediaTypeMuxed);
    device->sound_ = sound;
    return device;
  }

  bool HasMediaType(QTMediaType mediaType) const override { return mediaType == mediaType_; }
  bool IsConnected() const override { return true; }
  bool IsInUseByAnotherApplication() const override { return false; }

 protected:
  bool OpenDevice() override { return true; }
  void CloseDevice() override {}
  Source MakeSource(const CVPixelBufferAttributes&) override {
    GError* error = nullptr;
    GstElement* element = gst_parse_bin_from_description(description_.c_str(), TRUE, &error);
    if (error) {  // the element is there all the same, without what was not understood
      g_error_free(error);
      if (element) gst_object_unref(gst_object_ref_sink(element));
      return {};
    }
    GstCaps* caps = caps_.empty() ? nullptr : gst_caps_from_string(caps_.c_str());
    if (sound_.empty()) return {element, caps};
    GstElement* sound = gst_parse_bin_from_description(sound_.c_str(), TRUE, nullptr);
    GstElement* bin = gst_bin_new(nullptr);
    for (GstElement* part : {element, sound}) {
      gst_bin_add(reinterpret_cast<GstBin*>(bin), part);
      GstPad* pad = gst_element_get_static_pad(part, "src");
      gst_element_add_pad(bin, gst_ghost_pad_new(part == element ? "src" : "sound", pad));
      gst_object_unref(pad);
    }
    return {bin, caps};
  }
  void SourceEnded() override {}

 private:
  const std::string description_;
  const std::string caps_;
  const QTMediaType mediaType_;
  std::string sound_;
};

/// The system's sessions on devices of the test's own.
class TestSourcePlatform : public SystemPlatform {
 public:
  explicit TestSourcePlatform(std::vector<Retained<QTCaptureDevice>> devices)
      : devices_(std::move(devices)) {
    gstreamer::Initialise();
    Install(this);
  }
  ~TestSourcePlatform() override { Install(nullptr); }

  std::vector<Retained<QTCaptureDevice>> InputDevices() override { return devices_; }

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
