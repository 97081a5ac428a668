// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_QTCAPTURESESSION_H
#define ZORVEX_PLATFORM_QTCAPTURESESSION_H

#include <zorvex/platform/nsobject.h>
#include <zorvex/platform/qtcapturedevice.h>
#include <zorvex/platform/qtcaptureoutput.h>

#include <utility>
#include <vector>

/// Where a session's media comes from. Belongs to one session at a time.
class QTCaptureInput : public NSObject {};

/// One stream of an input.
class QTCaptureConnection : public NSObject {
 public:
  explicit QTCaptureConnection(Retained<QTFormatDescription> format) : format_(std::move(format)) {}
  QTFormatDescription* FormatDescription() const { return format_.get(); }

 private:
  const Retained<QTFormatDescription> format_;
};

/// The media of one device.
class QTCaptureDeviceInput : public QTCaptureInput {
 public:
  /// The streams that the device sends: of a muxed one those of its picture and its sound. The
  /// device is open.
  virtual std::vector<Retained<QTCaptureConnection>> Connections() = 0;
};

/// Moves media from its inputs to its outputs while it runs. Thread-safe; every operation may be
/// called from inside a delegate's call and returns within a few seconds whatever the device does.
class QTCaptureSession : public NSObject {
 public:
  /// addInput:error:. False when the device is not open or the session has an input of that kind
  /// (one that brings pictures, and beside it one that brings sound alone);
  /// an input that is already in the session stays, true. A session keeps an input that it refused
  /// because its device was closed, and takes it up when it starts with the device open.
  virtual bool AddInput(QTCaptureInput* input) = 0;
  virtual void RemoveInput(QTCaptureInput* input) = 0;
  /// addOutput:error:. False when the output cannot work: a movie file that cannot be written, or
  /// pictures that cannot be made, whose attributes the output then forgets. An output that is
  /// already in the session stays, true. Outputs come and go while it runs.
  virtual bool AddOutput(QTCaptureOutput* output) = 0;
  virtual void RemoveOutput(QTCaptureOutput* output) = 0;

  /// Begins delivery. IsRunning tells whether it worked.
  virtual void StartRunning() = 0;
  /// Ends delivery. When it returns no delegate call is in progress, except the caller's own and
  /// one that did not return within the time limit.
  virtual void StopRunning() = 0;
  /// True from a successful start to the stop, also when the device was unplugged in between.
  virtual bool IsRunning() const = 0;
};

#endif  // ZORVEX_PLATFORM_QTCAPTURESESSION_H
