// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FIREWIRE_FIREWIREDEVICE_H
#define ZORVEX_PLATFORM_FIREWIRE_FIREWIREDEVICE_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/avc/avctransport.h"
#include "platform/avc/avcunit.h"
#include "platform/firewire/firewirebus.h"
#include "platform/firewire/nodelock.h"
#include "platform/gstreamer/sourcedevice.h"

namespace firewire {

/// A camcorder or deck on the bus, known by its GUID. Its transport needs no opening.
class FireWireDevice final : public SourceDevice {
 public:
  FireWireDevice(std::shared_ptr<FireWireBus> bus, const FireWireNode& node, bool hasTransport);

  std::uint64_t Guid() const { return guid_; }

  bool HasMediaType(QTMediaType mediaType) const override {
    return mediaType == QTMediaType::QTMediaTypeMuxed;
  }
  bool IsConnected() const override;
  bool IsInUseByAnotherApplication() const override;
  std::vector<Retained<QTFormatDescription>> FormatDescriptions() override;
  std::vector<Retained<QTFormatDescription>> StreamDescriptions() override;
  bool IsMediaExpected() override;

  QTCaptureDeviceAttributes DeviceAttributes() const override;
  std::optional<QTCaptureDeviceAVCTransportControls> AVCTransportControlsAttribute() override;
  void SetAVCTransportControlsAttribute(
      const QTCaptureDeviceAVCTransportControls& controls) override;

 protected:
  bool OpenDevice() override;
  void CloseDevice() override;
  Source MakeSource(const CVPixelBufferAttributes& wish) override;
  void SourceEnded() override {}

 private:
  avc::Signal Signal();
  bool Hold(const FireWireNode& node);

  const std::shared_ptr<FireWireBus> bus_;
  const std::uint64_t guid_;
  /// None for a unit without a tape.
  const std::shared_ptr<AvcTransport> transport_;
  std::atomic<avc::Signal> lastSignal_ = avc::Signal::Dv60;
  std::mutex lockMutex_;
  NodeLock lock_;  ///< guarded by lockMutex_; held while the device is open
};

}  // namespace firewire

#endif  // ZORVEX_PLATFORM_FIREWIRE_FIREWIREDEVICE_H
