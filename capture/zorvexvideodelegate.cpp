// SPDX-License-Identifier: MIT
#include "capture/zorvexvideodelegate.h"

namespace {

/// Keeps a frame's pixels addressable for a scope.
class LockedBaseAddress {
 public:
  explicit LockedBaseAddress(CVPixelBuffer& frame) : frame_(frame) { frame_.LockBaseAddress(0); }
  LockedBaseAddress(const LockedBaseAddress&) = delete;
  LockedBaseAddress& operator=(const LockedBaseAddress&) = delete;
  ~LockedBaseAddress() { frame_.UnlockBaseAddress(0); }

 private:
  CVPixelBuffer& frame_;
};

}  // namespace

void ZRVXDeviceDecompressedVideoOutputDelegate::CaptureOutput(QTCaptureOutput*,
                                                              CVPixelBuffer* videoFrame,
                                                              QTSampleBuffer* sampleBuffer,
                                                              QTCaptureConnection*) {
  const LLockObjectGuard guard(DelegateMutex);
  if (!pVideoCallBack) return;

  pSMPTETimeStamp = nullptr;
  if (const SMPTETime* timeCode = sampleBuffer->SMPTETimeAttribute()) {
    SMPTETimeStampHolder = *timeCode;
    pSMPTETimeStamp = &SMPTETimeStampHolder;
  }

  const LockedBaseAddress locked(*videoFrame);
  pVideoCallBack(videoFrame->GetBaseAddress(), videoFrame->GetPixelFormatType(),
                 videoFrame->GetWidth(), videoFrame->GetHeight(), videoFrame->GetBytesPerRow(),
                 pSMPTETimeStamp, VideoCallBackData);
}

bool ZRVXDeviceDecompressedVideoOutputDelegate::InvalidateVideoCallBack(ZRVXVideoCallBack callBack,
                                                                        long data) {
  const LLockObjectGuard guard(DelegateMutex);
  // Deliberately two comparisons on their own: a host that gives only the data of a callback takes
  // the data away from it and leaves it running.
  const bool isCallBack = pVideoCallBack == callBack;
  const bool isData = VideoCallBackData == data;
  if (isCallBack) pVideoCallBack = nullptr;
  if (isData) VideoCallBackData = 0;
  return isCallBack || isData;
}

bool ZRVXDeviceDecompressedVideoOutputDelegate::GetSMPTETime(SMPTETime* timeCode) {
  const LLockObjectGuard guard(DelegateMutex);
  if (!pSMPTETimeStamp) return false;
  if (timeCode) *timeCode = *pSMPTETimeStamp;
  return true;
}
