// SPDX-License-Identifier: MIT
//
// The exported functions: each one validates its handle, forwards, and lets nothing escape.
#include "capture/zorvex.h"

#include <cxxabi.h>

#include "capture/zorvexdevice.h"
#include "foundation/threads/lockobject.h"

namespace {

/// The registry's lock: held around finding or making a slot with its first reference, around
/// retaining and around releasing, and nowhere else.
LLockObject ZRVXDeviceMutex;

/// Runs the body of an exported function; an exception gives its failure value. The unwinding of a
/// cancelled thread is no exception and goes on.
template <class Result, class Body>
Result Contained(Result failure, Body body) {
  try {
    return body();
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    return failure;
  }
}

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

bool ZRVXDeviceOpen(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.Open(); });
}

bool ZRVXDeviceClose(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.Close(); });
}

bool ZRVXDeviceIsOpened(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.IsOpened(); });
}

bool ZRVXDeviceHasMediaType(unsigned long handle, ZRVXDeviceMediaType mediaType) {
  return OnDevice(handle, false,
                  [&](ZRVXDevice& device) { return device.HasMediaType(mediaType); });
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

bool ZRVXDeviceIsConnected(unsigned long handle) {
  return OnDevice(handle, false, [](ZRVXDevice& device) { return device.IsConnected(); });
}

bool ZRVXDeviceIsUsedByAnotherApplication(unsigned long handle) {
  return OnDevice(handle, false,
                  [](ZRVXDevice& device) { return device.IsUsedByAnotherApplication(); });
}
