// SPDX-License-Identifier: MIT
#include "platform/simulated/simulateddevice.h"

#include <thread>
#include <utility>

#include "platform/simulated/simulatedsource.h"

using Kind = SimulatedDescription::Kind;
using Opening = SimulatedDescription::Opening;

SimulatedDevice::SimulatedDevice(SimulatedDescription description, std::string uniqueId,
                                 std::string orderKey)
    : SourceDevice(description.name, std::move(uniqueId), std::move(orderKey)),
      hardware_(std::make_shared<SimulatedHardware>(std::move(description))) {}

bool SimulatedDevice::HasMediaType(QTMediaType mediaType) const {
  return mediaType == (hardware_->Description().kind == Kind::Camera
                           ? QTMediaType::QTMediaTypeVideo
                           : QTMediaType::QTMediaTypeMuxed);
}

bool SimulatedDevice::OpenDevice() {
  const SimulatedDescription& description = hardware_->Description();
  if (description.opening == Opening::Hangs) std::this_thread::sleep_for(description.hangFor);
  return description.opening != Opening::Refused && !description.busy && hardware_->IsConnected();
}

/// The device has one mode, which its pad allows alone.
SourceDevice::Source SimulatedDevice::MakeSource(const CVPixelBufferAttributes&) {
  if (!hardware_->IsConnected()) return {};
  return {.element = NewSimulatedSource(hardware_), .caps = nullptr};
}
