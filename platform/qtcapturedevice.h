// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_QTCAPTUREDEVICE_H
#define ZORVEX_PLATFORM_QTCAPTUREDEVICE_H

#include <zorvex/platform/nsobject.h>

enum class QTMediaType {
  QTMediaTypeVideo,
  QTMediaTypeSound,
  QTMediaTypeMuxed,  ///< picture and sound in one stream, as a tape camcorder sends them
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
};

#endif  // ZORVEX_PLATFORM_QTCAPTUREDEVICE_H
