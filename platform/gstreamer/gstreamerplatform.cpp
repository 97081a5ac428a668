// SPDX-License-Identifier: MIT
#include "platform/gstreamer/gstreamerplatform.h"

#include <gst/gst.h>

#include "platform/gstreamer/audiooutput.h"
#include "platform/gstreamer/capturesession.h"

namespace gstreamer {

bool Initialise() {
  static const bool initialised = [] {
    return gst_init_check(nullptr, nullptr, nullptr) == TRUE;
  }();
  return initialised;
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

Retained<QTCaptureDecompressedAudioOutput> NewDecompressedAudioOutput() {
  return MakeRetained<AudioOutput>();
}

Retained<QTCaptureMovieFileOutput> NewMovieFileOutput() {
  return MakeRetained<MovieFileOutput>();
}

}  // namespace gstreamer
