// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_ZORVEXFORMATPROBE_H
#define ZORVEX_CAPTURE_ZORVEXFORMATPROBE_H

#include "capture/zorvexdeviceformat.h"
#include "foundation/threads/lockobject.h"
#include "foundation/threads/signalobject.h"
#include "platform/captureplatform.h"

/// Writes down the format of the frames of a short capture.
class ZRVXDEviceGetDefaultVideoFormatDelegate final
    : public QTCaptureDecompressedVideoOutputDelegate {
 public:
  /// `format` is written to until Detach.
  explicit ZRVXDEviceGetDefaultVideoFormatDelegate(ZRVXDeviceFormat* format)
      : pFormatHolder(format) {}

  void CaptureOutput(QTCaptureOutput* captureOutput, CVPixelBuffer* videoFrame,
                     QTSampleBuffer* sampleBuffer, QTCaptureConnection* connection) override;

  /// Waits for a frame, for at most five seconds. On the thread that loaded the library events are
  /// handled meanwhile, and the answer is whether a frame came; on any other it is always false,
  /// deliberately: what was written down tells.
  bool Wait();

  /// Nothing is written after it returned: a session that did not stop in time may still call.
  void Detach();

 private:
  bool WaitServingEvents();

  ZRVXDeviceFormat* pFormatHolder;  ///< none once detached
  LSignalObject Condition;
  LLockObject FormatMutex;  ///< guards pFormatHolder and what it points at
};

/// Runs the device, which is opened for that where it is not open, until it delivered a frame, and
/// stores the frame's format. `format` stays as it is when the device cannot be run or sends
/// nothing for five seconds.
void ProbeVideoFormat(QTCaptureDevice& device, ZRVXDeviceFormat& format);

#endif  // ZORVEX_CAPTURE_ZORVEXFORMATPROBE_H
