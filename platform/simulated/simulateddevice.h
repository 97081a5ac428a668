// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SIMULATEDDEVICE_H
#define ZORVEX_PLATFORM_SIMULATED_SIMULATEDDEVICE_H

#include <memory>
#include <string>

#include "platform/avc/avctransport.h"
#include "platform/gstreamer/sourcedevice.h"
#include "platform/simulated/simulatedhardware.h"

/// A camera, camcorder or microphone without hardware, with the failures that its description asks
/// for. A camcorder's transport works whether the device is open or not, as that of a deck on a
/// bus.
class SimulatedDevice final : public SourceDevice {
 public:
  SimulatedDevice(SimulatedDescription description, std::string uniqueId, std::string orderKey);

  bool HasMediaType(QTMediaType mediaType) const override;
  bool IsConnected() const override { return hardware_->IsConnected(); }
  bool IsInUseByAnotherApplication() const override { return hardware_->Description().busy; }

  std::vector<Retained<QTFormatDescription>> FormatDescriptions() override;
  std::vector<Retained<QTFormatDescription>> StreamDescriptions() override;
  bool IsMediaExpected() override;

  QTCaptureDeviceAttributes DeviceAttributes() const override;
  std::optional<QTCaptureDeviceAVCTransportControls> AVCTransportControlsAttribute() override;
  void SetAVCTransportControlsAttribute(
      const QTCaptureDeviceAVCTransportControls& controls) override;

 protected:
  bool OpenDevice() override;
  void CloseDevice() override {}  // it answers to nobody else
  Source MakeSource(const CVPixelBufferAttributes& wish) override;
  void SourceEnded() override {}

 private:
  bool IsDeck() const;

  const std::shared_ptr<SimulatedHardware> hardware_;
  AvcTransport transport_;  ///< of a camcorder
};

#endif  // ZORVEX_PLATFORM_SIMULATED_SIMULATEDDEVICE_H
