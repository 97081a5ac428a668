// SPDX-License-Identifier: MIT
#include "platform/gstreamer/gstreamerplatform.h"

#include <gst/gst.h>

#include "platform/gstreamer/capturesession.h"
#include "platform/gstreamer/v4l2provider.h"

namespace gstreamer {

bool Initialise() {
  static const bool initialised = [] {
    return gst_init_check(nullptr, nullptr, nullptr) == TRUE;
  }();
  return initialised;
}

std::unique_ptr<DeviceProvider> NewV4L2Provider() {
  return std::make_unique<V4L2Provider>();
}

Retained<QTCaptureSession> NewSession() {
  Initialise();
  return MakeRetained<CaptureSession>();
}

Retained<QTCaptureDeviceInput> NewDeviceInput(QTCaptureDevice* device) {
  return MakeRetained<DeviceInput>(Retained(dynamic_cast<SourceDevice*>(device)));
}

Retained<QTCaptureDecompressedVideoOutput> NewDecompressedVideoOutput() {
  return MakeRetained<VideoOutput>();
}

Retained<QTCaptureMovieFileOutput> NewMovieFileOutput() {
  return MakeRetained<MovieFileOutput>();
}

}  // namespace gstreamer
