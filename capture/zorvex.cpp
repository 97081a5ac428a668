// SPDX-License-Identifier: MIT
//
// The exported functions: each one validates its handle, forwards, and lets nothing escape.
#include "capture/zorvex.h"

#include "capture/contained.h"
#include "capture/zorvexdevice.h"
#include "capture/zorvexdeviceformat.h"
#include "foundation/threads/lockobject.h"

namespace {

/// The registry's lock: held around finding or making a slot with its first reference, around
/// retaining and around releasing, and nowhere else.
LLockObject ZRVXDeviceMutex;

/// Runs `body` on the slot of a handle; `failure` when the handle is invalid.
template <class Result, class Body>
Result OnDevice(unsigned long handle, Result failure, Body body) {
  return Contained(failure, [&] {
    ZRVXDevice* device = ZRVXDevice::GetDevice(handle);
    return device ? body(*device) : failure;
  });
}

/// The same under the registry's lock, validation included: of two threads that give the last
/// reference back only one does.
template <class Body>
bool OnDeviceLocked(unsigned long handle, Body body) {
  const LLockObjectGuard guard(ZRVXDeviceMutex);
  return OnDevice(handle, false, [&](ZRVXDevice& device) {
    body(device);
    return true;
  });
}

}  // namespace

bool ZRVXHasUsedDevices() {
  return ZRVXDevice::HasUsedDevices();
}

bool ZRVXDumpUsedDevices() {
  return ZRVXDevice::DumpUsedDevices();
}

void ZRVXDeviceEnumerate(IZRVXDeviceEnumerator* enumerator, ZRVXDeviceMediaType mediaType,
                         unsigned int flags) {
  if (!enumerator) return;
  Contained(false, [&] {
    ZRVXDeviceEnumeratorExWrapper wrapper(enumerator, mediaType, flags);
    ZRVXDevice::Enumerate(&wrapper);
    return true;
  });
}

unsigned long ZRVXDeviceGet(char const* name, ZRVXDeviceMediaType mediaType) {
  if (!name || name[0] == '\0') return 0;
  return Contained(0ul, [&] {
    const LLockObjectGuard guard(ZRVXDeviceMutex);
    ZRVXDevice* device = ZRVXDevice::GetDevice(name, mediaType);
    if (!device) device = ZRVXDevice::CreateDevice(name, mediaType);
    if (device) device->Retain();
    return reinterpret_cast<unsigned long>(device);
  });
}

bool ZRVXDeviceRetain(unsigned long handle) {
  return OnDeviceLocked(handle, [](ZRVXDevice& device) { device.Retain(); });
}

bool ZRVXDeviceRelease(unsigned long handle) {
  return OnDeviceLocked(handle, [](ZRVXDevice& device) { device.Release(); });
}

bool ZRVXDeviceFormatEnumerate(unsigned long handle, IZRVXDeviceFormatEnumerator* enumerator) {
  const Retained device(ZRVXDevice::GetQTDevice(handle));
  return ZRVXDeviceFormatEnumerateEx(device.get(), enumerator);
}

bool ZRVXDeviceOpen(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.Open(); });
}

bool ZRVXDeviceClose(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.Close(); });
}

bool ZRVXDeviceCloseAudioDevice(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.CloseAudioDevice(); });
}

bool ZRVXDeviceCloseAllAudioDevices() {
  return ZRVXDevice::CloseAllAudioDevices();
}

bool ZRVXDeviceIsOpened(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.IsOpened(); });
}

bool ZRVXDeviceHasMediaType(unsigned long handle, ZRVXDeviceMediaType mediaType) {
  return OnDevice(handle, false,
                  [&](ZRVXDevice& device) { return device.HasMediaType(mediaType); });
}

bool ZRVXDeviceIsTransportAvailable(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.IsTransportAvailable(); });
}

ZRVXDeviceTransportMode ZRVXDeviceGetTransportMode(unsigned long handle) {
  // Deliberate: what is no device at all stands still, and only a device can lack a transport.
  return OnDevice(handle, ZRVXDeviceTransportModeStop, [](ZRVXDevice& device) {
    return device.IsTransportAvailable() ? device.GetTransportMode()
                                         : ZRVXDeviceTransportModeUnavailable;
  });
}

void ZRVXDeviceSetTransportMode(unsigned long handle, ZRVXDeviceTransportMode mode) {
  OnDevice(handle, false, [&](ZRVXDevice& device) {
    device.SetTransportMode(mode);
    return true;
  });
}

bool ZRVXDeviceStartCapture(unsigned long handle, ZRVXVideoCallBack videoCallBack,
                            long videoCallBackData, unsigned int pixelFormat, unsigned long width,
                            unsigned long height, ZRVXAudioCallBack audioCallBack,
                            long audioCallBackData, unsigned int audioFormatFlags,
                            unsigned long sampleRate, unsigned long channels,
                            unsigned long bytesPerSample, char const* movieFile) {
  return OnDevice(handle, false, [&](ZRVXDevice& device) {
    return device.StartCapture(videoCallBack, videoCallBackData, pixelFormat, width, height,
                               audioCallBack, audioCallBackData, audioFormatFlags, sampleRate,
                               channels, bytesPerSample, movieFile);
  });
}

bool ZRVXDeviceStartCaptureWithAudioDevice(unsigned long handle, char const* audioDeviceName,
                                           ZRVXVideoCallBack videoCallBack, long videoCallBackData,
                                           unsigned int pixelFormat, unsigned long width,
                                           unsigned long height, ZRVXAudioCallBack audioCallBack,
                                           long audioCallBackData, unsigned int audioFormatFlags,
                                           unsigned long sampleRate, unsigned long channels,
                                           unsigned long bytesPerSample, char const* movieFile) {
  if (!audioDeviceName || audioDeviceName[0] == '\0') return false;
  return OnDevice(handle, false, [&](ZRVXDevice& device) {
    device.CreateAudioDevice(audioDeviceName);
    return device.StartCapture(videoCallBack, videoCallBackData, pixelFormat, width, height,
                               audioCallBack, audioCallBackData, audioFormatFlags, sampleRate,
                               channels, bytesPerSample, movieFile);
  });
}

bool ZRVXDeviceStopCapture(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.StopCapture(); });
}

bool ZRVXDeviceStopRecording(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.StopRecording(); });
}

bool ZRVXDeviceIsCapturing(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.IsCapturing(); });
}

bool ZRVXDeviceGetSMPTETime(unsigned long handle, SMPTETime* timeCode) {
  return OnDevice(handle, false, [&](ZRVXDevice& device) { return device.GetSMPTETime(timeCode); });
}

bool ZRVXDeviceInvalidateCaptureVideoCallBack(unsigned long handle, ZRVXVideoCallBack callBack,
                                              long data) {
  return OnDevice(handle, false, [&](ZRVXDevice& device) {
    return device.InvalidateCaptureVideoCallBack(callBack, data);
  });
}

bool ZRVXDeviceInvalidateCaptureAudioCallBack(unsigned long handle, ZRVXAudioCallBack callBack,
                                              long data) {
  return OnDevice(handle, false, [&](ZRVXDevice& device) {
    return device.InvalidateCaptureAudioCallBack(callBack, data);
  });
}

bool ZRVXDeviceIsConnected(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.IsConnected(); });
}

bool ZRVXDeviceIsUsedByAnotherApplication(unsigned long handle) {
  return OnDevice(handle, false,
                  [](ZRVXDevice& device) { return device.IsUsedByAnotherApplication(); });
}
