// SPDX-License-Identifier: MIT
#include "capture/zorvexdevice.h"

#include <strings.h>

#include <cstring>
#include <span>

#include "capture/contained.h"
#include "capture/zorvexaudiodelegate.h"
#include "capture/zorvexvideodelegate.h"

namespace {

/// The table has room for 65 records, of which 64 are used: the last one is never filled, but lies
/// inside the range that handles are accepted from. Deliberate; both numbers are part of the
/// contract.
constexpr std::size_t kRecords = 65;
constexpr std::size_t kUsableSlots = 64;

/// Empty before any code runs. Slots have no destructor (see SlotField): a process that exits
/// while it captures just exits.
constinit ZRVXDevice ZRVXDevices[kRecords]{};

std::span<ZRVXDevice> UsableSlots() {
  return {ZRVXDevices, kUsableSlots};
}

/// What happens to the slots when the process exits: nothing. The place to do something is kept.
class ZRVXDeviceResourceChecker {
 public:
  ~ZRVXDeviceResourceChecker() {}
};
ZRVXDeviceResourceChecker Checker;

/// Runs before the host can call: the slots are emptied, and it is settled whether the platform
/// captures audio.
[[maybe_unused]] const bool tableIsReady = [] {
  for (ZRVXDevice& slot : ZRVXDevices)
    slot.Clear();
  ZRVXDevice::bIsAudioRecordingSupported =
      CapturePlatform::Current().HasClass("QTCaptureDecompressedAudioOutput");
  return true;
}();

}  // namespace

constinit bool ZRVXDevice::bIsAudioRecordingSupported = false;

ZRVXDeviceEnumeratorExWrapper::ZRVXDeviceEnumeratorExWrapper(IZRVXDeviceEnumerator* enumerator,
                                                             ZRVXDeviceMediaType mediaType,
                                                             unsigned int flags)
    : pEnumerator(enumerator), MediaType(mediaType), nFlags(flags) {}

bool ZRVXDeviceEnumeratorExWrapper::OnDevice(char const* name, QTCaptureDevice* device) {
  constexpr unsigned int kDisconnectedToo = 1u << 0;
  if (!ZRVXDevice::HasMediaType(device, MediaType)) return true;
  if (!(nFlags & kDisconnectedToo) && !device->IsConnected()) return true;
  return pEnumerator->OnDevice(name);
}

ZRVXDeviceFinder::ZRVXDeviceFinder(char const* name, ZRVXDeviceMediaType mediaType)
    : szWanted(name), MediaType(mediaType) {}

bool ZRVXDeviceFinder::OnDevice(char const* name, QTCaptureDevice* device) {
  if (strcasecmp(name, szWanted) != 0 || !ZRVXDevice::HasMediaType(device, MediaType)) return true;
  pFound = Retained(device);
  return false;
}

bool ZRVXDevice::IsInUse() const {
  // The three are read without the registry's lock by every call that validates a handle.
  const char first =
      std::atomic_ref<char>(const_cast<char&>(szName[0])).load(std::memory_order_acquire);
  return first != '\0' && pDevice && nRefCount >= 0;
}

// The first byte, which tells whether the slot is in use, is written last.
void ZRVXDevice::StoreName(char (&target)[260], char const* name) {
  const std::size_t length = strnlen(name, sizeof target - 1);
  target[length] = '\0';
  if (length > 1) std::memcpy(target + 1, name + 1, length - 1);
  std::atomic_ref<char>(target[0]).store(name[0], std::memory_order_release);
}

ZRVXDevice* ZRVXDevice::GetDevice(char const* name, ZRVXDeviceMediaType mediaType) {
  for (ZRVXDevice& slot : UsableSlots()) {
    if (slot.IsInUse() && strcasecmp(slot.szName, name) == 0 && slot.HasMediaType(mediaType)) {
      return &slot;
    }
  }
  return nullptr;
}

ZRVXDevice* ZRVXDevice::GetDevice(unsigned long handle) {
  const auto start = reinterpret_cast<std::uintptr_t>(ZRVXDevices);
  if (handle < start || handle - start >= sizeof ZRVXDevices) return nullptr;
  if ((handle - start) % sizeof(ZRVXDevice) != 0) return nullptr;  // no slot begins there
  ZRVXDevice& slot = ZRVXDevices[(handle - start) / sizeof(ZRVXDevice)];
  return slot.IsInUse() ? &slot : nullptr;
}

QTCaptureDevice* ZRVXDevice::GetQTDevice(unsigned long handle) {
  const ZRVXDevice* slot = GetDevice(handle);
  return slot ? slot->pDevice.Get().get() : nullptr;
}

ZRVXDevice* ZRVXDevice::CreateDevice(char const* name, ZRVXDeviceMediaType mediaType) {
  if (ZRVXDevice* slot = GetDevice(name, mediaType)) return slot;

  ZRVXDevice* free = nullptr;
  for (ZRVXDevice& slot : UsableSlots()) {
    if (!slot.IsInUse()) {
      free = &slot;
      break;
    }
  }
  if (!free) return nullptr;

  ZRVXDeviceFinder finder(name, mediaType);
  Enumerate(&finder);
  if (!finder.Found()) return nullptr;

  free->Clear();
  free->pDevice.Set(finder.Found());
  free->nRefCount = 0;
  StoreName(free->szName, name);
  return free;
}

void ZRVXDevice::Enumerate(IZRVXDeviceEnumeratorEx* enumerator) {
  for (const Retained<QTCaptureDevice>& device : CapturePlatform::Current().InputDevices()) {
    if (!device) continue;
    const char* name = device->LocalizedDisplayName();
    if (!name) continue;
    if (!enumerator->OnDevice(name, device.get())) return;
  }
}

bool ZRVXDevice::HasMediaType(QTCaptureDevice* device, ZRVXDeviceMediaType mediaType) {
  switch (mediaType) {
    case ZRVXDeviceMediaTypeAny:
      return HasMediaType(device, ZRVXDeviceMediaTypeVideo) ||
             HasMediaType(device, ZRVXDeviceMediaTypeAudio) ||
             device->HasMediaType(QTMediaType::QTMediaTypeMuxed);
    case ZRVXDeviceMediaTypeAudio:
      return bIsAudioRecordingSupported && (device->HasMediaType(QTMediaType::QTMediaTypeSound) ||
                                            device->HasMediaType(QTMediaType::QTMediaTypeMuxed));
    case ZRVXDeviceMediaTypeMuxed:
      return device->HasMediaType(QTMediaType::QTMediaTypeMuxed);
    case ZRVXDeviceMediaTypeVideo:
    default:  // deliberate: hosts pass other numbers and mean video
      return device->HasMediaType(QTMediaType::QTMediaTypeVideo) ||
             device->HasMediaType(QTMediaType::QTMediaTypeMuxed);
  }
}

bool ZRVXDevice::IsMediaTypeSupported(ZRVXDeviceMediaType mediaType) {
  return mediaType != ZRVXDeviceMediaTypeAudio || bIsAudioRecordingSupported;
}

bool ZRVXDevice::HasUsedDevices() {
  for (const ZRVXDevice& slot : UsableSlots()) {
    if (slot.IsInUse()) return true;
  }
  return false;
}

bool ZRVXDevice::DumpUsedDevices() {
  return HasUsedDevices();
}

bool ZRVXDevice::CloseAllAudioDevices() {
  bool areClosed = true;
  for (ZRVXDevice& slot : UsableSlots())
    areClosed &= Contained(false, [&] { return slot.CloseAudioDevice(); });
  return areClosed;
}

void ZRVXDevice::Clear() {
  if (!IsCapturing()) Empty();
}

void ZRVXDevice::Empty() {
  std::atomic_ref<char>(szName[0]).store('\0', std::memory_order_release);
  szAudioDeviceName[0] = '\0';
  nRefCount = 0;
  pDevice.Set(nullptr);
  pAudioDevice.Set(nullptr);
  pSession.Set(nullptr);
  ForgetSessionParts();
  // pMovieFileOutput stays, deliberately: a stop of a capture takes it away, or the next session.
}

void ZRVXDevice::ForgetSessionParts() {
  pVideoInput.Set(nullptr);
  pAudioInput.Set(nullptr);
  pVideoOutput.Set(nullptr);
  pVideoDelegate.Set(nullptr);
  pAudioOutput.Set(nullptr);
  pAudioDelegate.Set(nullptr);
}

void ZRVXDevice::Retain() {
  ++nRefCount;
}

// The order is deliberate: a session that runs keeps its device whatever the count says, and the
// last release meanwhile only ends the delivery.
void ZRVXDevice::Release() {
  if (nRefCount < 2 && IsCapturing()) StopRecording();
  if (IsCapturing()) return;
  if (nRefCount-- > 1) return;
  pDevice.Set(nullptr);
  pAudioDevice.Set(nullptr);
  if (IsCapturing()) return;
  Empty();
}

bool ZRVXDevice::Open() {
  const Retained<QTCaptureDevice> device = pDevice.Get();
  return device->IsOpen() || device->Open();
}

bool ZRVXDevice::Close() {
  const Retained<QTCaptureDevice> device = pDevice.Get();
  if (!device->IsOpen()) return true;
  device->Close();
  const Retained<QTCaptureDevice> audioDevice = pAudioDevice.Get();
  if (audioDevice && audioDevice->IsOpen()) audioDevice->Close();
  return true;
}

bool ZRVXDevice::IsOpened() const {
  return pDevice.Get()->IsOpen();
}

bool ZRVXDevice::IsConnected() const {
  return pDevice.Get()->IsConnected();
}

bool ZRVXDevice::IsUsedByAnotherApplication() const {
  return pDevice.Get()->IsInUseByAnotherApplication();
}

bool ZRVXDevice::HasMediaType(ZRVXDeviceMediaType mediaType) const {
  return HasMediaType(pDevice.Get().get(), mediaType);
}
