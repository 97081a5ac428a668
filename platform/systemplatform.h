// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SYSTEMPLATFORM_H
#define ZORVEX_PLATFORM_SYSTEMPLATFORM_H

#include <string_view>
#include <vector>

#include "platform/audioconverter/linearpcmconverter.h"
#include "platform/captureplatform.h"
#include "platform/gstreamer/gstreamerplatform.h"

/// The platform of this system. Nothing of it exists before it is asked for devices or sessions.
class SystemPlatform : public CapturePlatform {
 public:
  bool HasClass(const char* name) const override {
    return std::string_view(name) == "QTCaptureDecompressedAudioOutput";
  }

  std::vector<Retained<QTCaptureDevice>> InputDevices() override;

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

#endif  // ZORVEX_PLATFORM_SYSTEMPLATFORM_H
