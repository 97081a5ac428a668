// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_QTCAPTUREDEVICE_H
#define ZORVEX_PLATFORM_QTCAPTUREDEVICE_H

#include <zorvex/platform/nsobject.h>
#include <zorvex/platform/qtformatdescription.h>

#include <optional>
#include <vector>

/// The transport of a tape device as its attribute: a dictionary with two keys.
struct QTCaptureDeviceAVCTransportControls {
  /// 10000 is normal forward speed; negative speeds are reverse, 0 stands still.
  long QTCaptureDeviceAVCTransportControlsSpeedKey = 0;
  /// 0 not playing (stopped, or winding without a picture), 1 playing.
  unsigned long QTCaptureDeviceAVCTransportControlsPlaybackModeKey = 0;

  bool operator==(const QTCaptureDeviceAVCTransportControls&) const = default;
};

/// deviceAttributes: which attributes a device has.
struct QTCaptureDeviceAttributes {
  bool QTCaptureDeviceAVCTransportControlsAttribute = false;
};

/// A camera, microphone or tape deck that the platform knows, plugged in or not. One object stands
/// for one device as long as the process runs, also over unplugging and plugging in again. Every
/// operation is thread-safe.
class QTCaptureDevice : public NSObject {
 public:
  /// UTF-8, unique among the listed devices, constant; null when the device has no name. Owned by
  /// the device.
  virtual const char* LocalizedDisplayName() const = 0;
  /// UTF-8, constant, and the same after a restart of the machine; null when there is none. Owned
  /// by the device.
  virtual const char* UniqueID() const = 0;
  virtual bool HasMediaType(QTMediaType mediaType) const = 0;
  virtual bool IsConnected() const = 0;
  virtual bool IsInUseByAnotherApplication() const = 0;

  /// Whether this process holds the device. Stays true when an open device is unplugged, so that
  /// what was begun with it can be ended.
  virtual bool IsOpen() const = 0;
  /// Takes the device for this process alone. False when it is busy, gone, not permitted or does
  /// not answer within a few seconds.
  virtual bool Open() = 0;
  /// Gives the device back. A session that runs on it gets no more frames.
  virtual void Close() = 0;

  /// The formats that the device offers, in its own order; those of a muxed device say only that it
  /// is one. May ask the device and wait for it, a few seconds at most.
  virtual std::vector<Retained<QTFormatDescription>> FormatDescriptions() { return {}; }

  /// Answered without asking the device.
  virtual QTCaptureDeviceAttributes DeviceAttributes() const { return {}; }
  /// attributeForKey: QTCaptureDeviceAVCTransportControlsAttribute. What the tape does now; none
  /// without a transport, or when the device does not answer within a second or so.
  virtual std::optional<QTCaptureDeviceAVCTransportControls> AVCTransportControlsAttribute() {
    return std::nullopt;
  }
  /// setAttribute:forKey: with the same key. A device without a transport ignores it.
  virtual void SetAVCTransportControlsAttribute(const QTCaptureDeviceAVCTransportControls&) {}
};

#endif  // ZORVEX_PLATFORM_QTCAPTUREDEVICE_H
