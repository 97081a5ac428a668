// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SIMULATEDDEVICE_H
#define ZORVEX_PLATFORM_SIMULATED_SIMULATEDDEVICE_H

#include <memory>
#include <string>

#include "platform/gstreamer/sourcedevice.h"
#include "platform/simulated/simulatedhardware.h"

/// A camera or camcorder without hardware, with the failures that its description asks for.
class SimulatedDevice final : public SourceDevice {
 public:
  SimulatedDevice(SimulatedDescription description, std::string uniqueId, std::string orderKey);

  bool HasMediaType(QTMediaType mediaType) const override;
  bool IsConnected() const override { return hardware_->IsConnected(); }
  bool IsInUseByAnotherApplication() const override { return hardware_->Description().busy; }

 protected:
  bool OpenDevice() override;
  void CloseDevice() override {}  // it answers to nobody else
  Source MakeSource(const CVPixelBufferAttributes& wish) override;
  void SourceEnded() override {}

 private:
  const std::shared_ptr<SimulatedHardware> hardware_;
};

#endif  // ZORVEX_PLATFORM_SIMULATED_SIMULATEDDEVICE_H
