// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_GSTREAMERPLATFORM_H
#define ZORVEX_PLATFORM_GSTREAMER_GSTREAMERPLATFORM_H

#include <memory>

#include "platform/deviceprovider.h"
#include "platform/qtcapturesession.h"

/// What the GStreamer backend gives to the rest of the platform. Free of GStreamer's own headers.
namespace gstreamer {

/// Initialises GStreamer once for the process; false when that failed. Thread-safe.
bool Initialise();

/// The cameras that V4L2 knows.
std::unique_ptr<DeviceProvider> NewV4L2Provider();

// The makers of session objects. The session runs on every device that is a SourceDevice.
Retained<QTCaptureSession> NewSession();
Retained<QTCaptureDeviceInput> NewDeviceInput(QTCaptureDevice* device);
Retained<QTCaptureDecompressedVideoOutput> NewDecompressedVideoOutput();
Retained<QTCaptureMovieFileOutput> NewMovieFileOutput();

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_GSTREAMERPLATFORM_H
