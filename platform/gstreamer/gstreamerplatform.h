// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_GSTREAMERPLATFORM_H
#define ZORVEX_PLATFORM_GSTREAMER_GSTREAMERPLATFORM_H

#include "platform/qtcapturesession.h"

/// What the GStreamer backend gives to the rest of the platform. Free of GStreamer's own headers.
namespace gstreamer {

/// Initialises GStreamer once for the process; false when that failed. Thread-safe.
bool Initialise();

// The makers of session objects. The session runs on every device that is a SourceDevice.
Retained<QTCaptureSession> NewSession();
Retained<QTCaptureDeviceInput> NewDeviceInput(QTCaptureDevice* device);
Retained<QTCaptureDecompressedVideoOutput> NewDecompressedVideoOutput();
Retained<QTCaptureDecompressedAudioOutput> NewDecompressedAudioOutput();
Retained<QTCaptureMovieFileOutput> NewMovieFileOutput();

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_GSTREAMERPLATFORM_H
