// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_ZORVEXVIDEODELEGATE_H
#define ZORVEX_CAPTURE_ZORVEXVIDEODELEGATE_H

#include "capture/zorvex.h"
#include "foundation/threads/lockobject.h"
#include "platform/qtcaptureoutput.h"

/// Hands each frame of a capture to the host's callback and remembers the latest time code.
///
/// DelegateMutex guards every field and is held while the callback runs: so whoever invalidates the
/// callback waits for a frame in flight and knows that the old callback never runs again. It is
/// recursive, because the callback itself may ask for the time code.
class ZRVXDeviceDecompressedVideoOutputDelegate final
    : public QTCaptureDecompressedVideoOutputDelegate {
 public:
  ZRVXDeviceDecompressedVideoOutputDelegate(ZRVXVideoCallBack callBack, long data)
      : pVideoCallBack(callBack), VideoCallBackData(data) {}

  void CaptureOutput(QTCaptureOutput* captureOutput, CVPixelBuffer* videoFrame,
                     QTSampleBuffer* sampleBuffer, QTCaptureConnection* connection) override;

  /// Clears the callback when it is the given one and, independently, the data when it is the given
  /// one; whether either was.
  bool InvalidateVideoCallBack(ZRVXVideoCallBack callBack, long data);

  /// Copies the latest frame's time code unless `timeCode` is null; false when it carried none.
  bool GetSMPTETime(SMPTETime* timeCode);

 private:
  ZRVXVideoCallBack pVideoCallBack;  ///< null once invalidated
  long VideoCallBackData;            ///< 0 once invalidated
  LLockObject DelegateMutex;
  SMPTETime* pSMPTETimeStamp = nullptr;  ///< the holder when the latest frame carried a time code
  SMPTETime SMPTETimeStampHolder{};
};

#endif  // ZORVEX_CAPTURE_ZORVEXVIDEODELEGATE_H
