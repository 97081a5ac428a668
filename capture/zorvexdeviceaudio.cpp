// SPDX-License-Identifier: MIT
//
// The sound half of ZRVXDevice: the audio output of a capture, and a separate device that supplies
// the sound of one that has none.
#include <cstring>

#include "capture/contained.h"
#include "capture/zorvexaudiodelegate.h"
#include "capture/zorvexdevice.h"

void ZRVXDevice::AttachAudio(QTCaptureSession& session, ZRVXAudioCallBack callBack, long data,
                             unsigned int formatFlags, unsigned long sampleRate,
                             unsigned long channels, unsigned long bytesPerSample) {
  const bool isAttached = Contained(false, [&] {
    AttachAudioDevice(session);
    // Deliberate: as for pictures, a second start keeps the first callback.
    Retained<ZRVXDeviceDecompressedAudioOutputDelegate> delegate = pAudioDelegate.Get();
    if (!delegate) {
      delegate = MakeRetained<ZRVXDeviceDecompressedAudioOutputDelegate>(
          callBack, data, formatFlags, sampleRate, channels, bytesPerSample);
      pAudioDelegate.Set(delegate);
    }
    Retained<QTCaptureDecompressedAudioOutput> output = pAudioOutput.Get();
    if (!output) {
      output = CapturePlatform::Current().NewDecompressedAudioOutput();
      pAudioOutput.Set(output);
    }
    output->SetDelegate(delegate.get());
    return session.AddOutput(output.get());
  });
  if (isAttached) return;
  if (const auto output = pAudioOutput.Take()) output->SetDelegate(nullptr);
  pAudioDelegate.Set(nullptr);
}

void ZRVXDevice::AttachAudioDevice(QTCaptureSession& session) {
  // A device that carries sound itself supplies it; a separate one is then ignored.
  if (HasMediaType(ZRVXDeviceMediaTypeAudio)) return;
  const Retained<QTCaptureDevice> audioDevice = pAudioDevice.Get();
  if (!audioDevice || !audioDevice->Open() || pAudioInput) return;
  const auto input = CapturePlatform::Current().NewDeviceInput(audioDevice.get());
  // Deliberate: without the input the output just stays silent, which is no failure of the start.
  session.AddInput(input.get());
  pAudioInput.Set(input);
}

void ZRVXDevice::DetachAudio(QTCaptureSession* session) {
  if (const auto input = pAudioInput.Take(); input && session) session->RemoveInput(input.get());
  if (const auto output = pAudioOutput.Take()) {
    if (session) session->RemoveOutput(output.get());
    output->SetDelegate(nullptr);
  }
  pAudioDelegate.Set(nullptr);
}

void ZRVXDevice::CreateAudioDevice(char const* name) {
  // Deliberately byte for byte, unlike every other comparison of names: the same name in another
  // spelling detaches the device and attaches it again.
  if (!name || name[0] == '\0' || std::strcmp(name, szAudioDeviceName) == 0) return;

  if (szAudioDeviceName[0] != '\0') {
    const Retained<QTCaptureSession> session = pSession.Get();
    if (session) session->StopRunning();
    DetachAudio(session.get());
    pAudioDevice.Set(nullptr);  // deliberately not closed: the host may have opened it for itself
  }
  StoreName(szAudioDeviceName, name);
  ZRVXDeviceFinder finder(name, ZRVXDeviceMediaTypeAudio);
  Enumerate(&finder);
  pAudioDevice.Set(finder.Found());
}

bool ZRVXDevice::CloseAudioDevice() {
  if (szAudioDeviceName[0] == '\0') return true;
  const Retained<QTCaptureSession> session = pSession.Get();
  if (session) {
    session->StopRunning();
    if (session->IsRunning()) return false;
  }
  DetachAudio(session.get());

  const Retained<QTCaptureDevice> audioDevice = pAudioDevice.Take();
  if (!audioDevice) return false;  // deliberate: the name of a device that was not found stays
  if (audioDevice->IsOpen()) audioDevice->Close();
  szAudioDeviceName[0] = '\0';
  return true;
}

bool ZRVXDevice::InvalidateCaptureAudioCallBack(ZRVXAudioCallBack callBack, long data) {
  const auto delegate = pAudioDelegate.Get();
  return IsCapturing() && delegate && delegate->InvalidateAudioCallBack(callBack, data);
}
