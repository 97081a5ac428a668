// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_CAPTUREPLATFORM_H
#define ZORVEX_PLATFORM_CAPTUREPLATFORM_H

#include <vector>

#include <zorvex/platform/audioconverter.h>
#include <zorvex/platform/nsobject.h>
#include <zorvex/platform/qtcapturedevice.h>
#include <zorvex/platform/qtcaptureoutput.h>
#include <zorvex/platform/qtcapturesession.h>

/// The platform as the capture layer sees it: its devices and the makers of its session objects.
/// Thread-safe. docs/platform.md is the contract of those who implement it.
class CapturePlatform {
 public:
  /// The platform in use: this system's own unless another one was installed.
  static CapturePlatform& Current();
  /// Installs a platform, which must outlive its use, or with null this system's own. For tests;
  /// not while any capture call is in progress.
  static void Install(CapturePlatform* platform);

  virtual ~CapturePlatform() = default;

  /// Whether the platform has the named class. Must be cheap and safe while the library loads.
  virtual bool HasClass(const char* name) const = 0;
  /// inputDevices of QTCaptureDevice: every device seen so far, plugged in or not, in a stable
  /// order. An entry may be empty.
  virtual std::vector<Retained<QTCaptureDevice>> InputDevices() = 0;

  virtual Retained<QTCaptureSession> NewSession() = 0;
  virtual Retained<QTCaptureDeviceInput> NewDeviceInput(QTCaptureDevice* device) = 0;
  virtual Retained<QTCaptureDecompressedVideoOutput> NewDecompressedVideoOutput() = 0;
  virtual Retained<QTCaptureDecompressedAudioOutput> NewDecompressedAudioOutput() = 0;
  virtual Retained<QTCaptureMovieFileOutput> NewMovieFileOutput() = 0;

  /// The contract of AudioConverterNew, which calls this.
  virtual OSStatus NewAudioConverter(const AudioStreamBasicDescription& source,
                                     const AudioStreamBasicDescription& destination,
                                     AudioConverterRef* converter) = 0;
};

#endif  // ZORVEX_PLATFORM_CAPTUREPLATFORM_H
