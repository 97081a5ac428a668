// SPDX-License-Identifier: MIT
//
// The capture half of ZRVXDevice: how a slot's session is built up and taken apart.
#include "capture/zorvexaudiodelegate.h"
#include "capture/zorvexdevice.h"
#include "capture/zorvexvideodelegate.h"

namespace {

CVPixelBufferAttributes Attributes(unsigned int pixelFormat, unsigned long width,
                                   unsigned long height) {
  CVPixelBufferAttributes attributes;
  if (pixelFormat != 0) attributes.kCVPixelBufferPixelFormatTypeKey = pixelFormat;
  if (width != 0) attributes.kCVPixelBufferWidthKey = static_cast<double>(width);
  if (height != 0) attributes.kCVPixelBufferHeightKey = static_cast<double>(height);
  return attributes;
}

}  // namespace

bool ZRVXDevice::StartCapture(ZRVXVideoCallBack videoCallBack, long videoCallBackData,
                              unsigned int pixelFormat, unsigned long width, unsigned long height,
                              ZRVXAudioCallBack audioCallBack, long audioCallBackData,
                              unsigned int audioFormatFlags, unsigned long sampleRate,
                              unsigned long channels, unsigned long bytesPerSample,
                              char const* movieFile) {
  Retained<QTCaptureSession> session = pSession.Get();
  if (!session) {
    session = CapturePlatform::Current().NewSession();
    // What an older session was built of was never added to this one: what a stop left behind that
    // overlapped a start (its delegates would call a callback that is thought gone), and the movie
    // output of a recording that failed, perhaps of another device that had this slot.
    ForgetSessionParts();
    pMovieFileOutput.Set(nullptr);
    pSession.Set(session);
  }
  if (!AttachDevice(*session) ||
      (videoCallBack && !AttachVideo(*session, videoCallBack, videoCallBackData,
                                     Attributes(pixelFormat, width, height)))) {
    StopCapture();
    return false;
  }
  if (audioCallBack && bIsAudioRecordingSupported) {
    AttachAudio(*session, audioCallBack, audioCallBackData, audioFormatFlags, sampleRate, channels,
                bytesPerSample);
  }
  if (movieFile && !AttachMovie(*session, movieFile)) {
    StopCapture();
    return false;
  }
  if (!session->IsRunning()) session->StartRunning();
  return true;
}

bool ZRVXDevice::AttachDevice(QTCaptureSession& session) {
  if (pVideoInput) return true;
  const auto input = CapturePlatform::Current().NewDeviceInput(pDevice.Get().get());
  const bool isAdded = session.AddInput(input.get());
  // Kept also when it was refused, but not when the attempt threw: the next start would take it for
  // one that the session knows.
  pVideoInput.Set(input);
  return isAdded;
}

bool ZRVXDevice::AttachVideo(QTCaptureSession& session, ZRVXVideoCallBack callBack, long data,
                             const CVPixelBufferAttributes& attributes) {
  // Deliberate: a second start keeps the first callback with its data.
  Retained<ZRVXDeviceDecompressedVideoOutputDelegate> delegate = pVideoDelegate.Get();
  if (!delegate) {
    delegate = MakeRetained<ZRVXDeviceDecompressedVideoOutputDelegate>(callBack, data);
    pVideoDelegate.Set(delegate);
  }
  Retained<QTCaptureDecompressedVideoOutput> output = pVideoOutput.Get();
  if (!output) {
    output = CapturePlatform::Current().NewDecompressedVideoOutput();
    pVideoOutput.Set(output);
  }
  output->SetDelegate(delegate.get());
  if (attributes != CVPixelBufferAttributes{}) output->SetPixelBufferAttributes(attributes);
  return session.AddOutput(output.get());
}

bool ZRVXDevice::AttachMovie(QTCaptureSession& session, char const* movieFile) {
  if (pMovieFileOutput) return true;
  const auto output = CapturePlatform::Current().NewMovieFileOutput();
  output->RecordToOutputFileURL(movieFile);
  const bool isAdded = session.AddOutput(output.get());
  pMovieFileOutput.Set(output);  // as the input
  return isAdded;
}

Retained<QTCaptureSession> ZRVXDevice::EndDelivery() {
  Retained<QTCaptureSession> session = pSession.Get();
  const Retained<QTCaptureDevice> device = pDevice.Get();
  if (!device || !device->IsOpen() || !session || !session->IsRunning()) return nullptr;
  if (const auto output = pVideoOutput.Get()) output->SetDelegate(nullptr);
  if (const auto output = pAudioOutput.Get()) output->SetDelegate(nullptr);
  return session;
}

bool ZRVXDevice::StopCapture() {
  const Retained<QTCaptureSession> session = EndDelivery();
  // Deliberate: what a start left behind whose session never ran stays, for the next start.
  if (!session) return true;
  session->StopRunning();

  if (const auto input = pVideoInput.Take()) session->RemoveInput(input.get());
  if (const auto input = pAudioInput.Take()) session->RemoveInput(input.get());
  if (const auto output = pVideoOutput.Take()) session->RemoveOutput(output.get());
  pVideoDelegate.Set(nullptr);
  if (const auto output = pAudioOutput.Take()) session->RemoveOutput(output.get());
  pAudioDelegate.Set(nullptr);
  if (const auto output = pMovieFileOutput.Take()) session->RemoveOutput(output.get());
  pSession.Set(nullptr);
  return true;
}

bool ZRVXDevice::StopRecording() {
  const Retained<QTCaptureSession> session = EndDelivery();
  if (!session) return true;
  pVideoDelegate.Set(nullptr);
  pAudioDelegate.Set(nullptr);
  if (const auto output = pMovieFileOutput.Take()) session->RemoveOutput(output.get());
  return true;
}

bool ZRVXDevice::IsCapturing() const {
  const Retained<QTCaptureSession> session = pSession.Get();
  return session && session->IsRunning();
}

bool ZRVXDevice::InvalidateCaptureVideoCallBack(ZRVXVideoCallBack callBack, long data) {
  const auto delegate = pVideoDelegate.Get();
  return IsCapturing() && delegate && delegate->InvalidateVideoCallBack(callBack, data);
}

bool ZRVXDevice::GetSMPTETime(SMPTETime* timeCode) const {
  const auto delegate = pVideoDelegate.Get();
  return IsCapturing() && delegate && delegate->GetSMPTETime(timeCode);
}
