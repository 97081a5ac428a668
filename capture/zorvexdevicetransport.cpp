// SPDX-License-Identifier: MIT
//
// The tape transport of a device, and time codes as milliseconds.
#include <array>
#include <optional>

#include "capture/zorvexdevice.h"

namespace {

using Controls = QTCaptureDeviceAVCTransportControls;

constexpr unsigned long kNotPlaying = 0;
constexpr unsigned long kPlaying = 1;
constexpr long kNormalSpeed = 10000;
constexpr long kFastPlaySpeed = 13000;
constexpr long kWindSpeed = 19000;

/// What a mode writes; every value that is none of the five moving ones stops the tape.
Controls ControlsOf(ZRVXDeviceTransportMode mode) {
  switch (mode) {
    case ZRVXDeviceTransportModePlay:
      return {kNormalSpeed, kPlaying};
    case ZRVXDeviceTransportModeRewind:
      return {-kWindSpeed, kNotPlaying};
    case ZRVXDeviceTransportModeFastForward:
      return {kWindSpeed, kNotPlaying};
    case ZRVXDeviceTransportModePlayFastReverse:
      return {-kFastPlaySpeed, kPlaying};
    case ZRVXDeviceTransportModePlayFastForward:
      return {kFastPlaySpeed, kPlaying};
    case ZRVXDeviceTransportModeStop:
    case ZRVXDeviceTransportModeUnavailable:
    default:
      return {0, kNotPlaying};
  }
}

/// Speeds that no mode writes read as a neighbour: slow motion as fast play, and reverse play at
/// normal speed as fast reverse play. Deliberate; a mode is all that hosts can show.
ZRVXDeviceTransportMode ModeOf(const Controls& controls) {
  const long speed = controls.QTCaptureDeviceAVCTransportControlsSpeedKey;
  if (speed == 0) return ZRVXDeviceTransportModeStop;
  if (controls.QTCaptureDeviceAVCTransportControlsPlaybackModeKey != kPlaying) {
    return speed < 1 ? ZRVXDeviceTransportModeRewind : ZRVXDeviceTransportModeFastForward;
  }
  if (speed == kNormalSpeed) return ZRVXDeviceTransportModePlay;
  return speed < 1 ? ZRVXDeviceTransportModePlayFastReverse
                   : ZRVXDeviceTransportModePlayFastForward;
}

/// Frames per second of a time code type. Single precision on purpose, as in the sum below: results
/// are compared with those of hosts that count the same way.
float FrameRate(std::uint32_t type) {
  constexpr std::array<float, 8> rates = {24.0F,  25.0F,  30.0F, 30.0F,
                                          29.97F, 29.97F, 60.0F, 59.94F};
  return type < rates.size() ? rates[type] : 25.0F;
}

}  // namespace

bool ZRVXDevice::IsTransportAvailable() const {
  return pDevice.Get()->DeviceAttributes().QTCaptureDeviceAVCTransportControlsAttribute;
}

ZRVXDeviceTransportMode ZRVXDevice::GetTransportMode() const {
  const std::optional<Controls> controls = pDevice.Get()->AVCTransportControlsAttribute();
  return controls ? ModeOf(*controls) : ZRVXDeviceTransportModeUnavailable;
}

void ZRVXDevice::SetTransportMode(ZRVXDeviceTransportMode mode) {
  pDevice.Get()->SetAVCTransportControlsAttribute(ControlsOf(mode));
}

unsigned int ZRVXDeviceSMPTE2Milliseconds(SMPTETime const* timeCode) {
  // The conversion from the signed fields keeps their value modulo 2 to the 32nd.
  const auto hours = static_cast<std::uint32_t>(timeCode->mHours);
  const auto minutes = static_cast<std::uint32_t>(timeCode->mMinutes);
  const auto seconds = static_cast<std::uint32_t>(timeCode->mSeconds);
  const float frames = static_cast<float>(timeCode->mFrames) * 1000.0F / FrameRate(timeCode->mType);
  return hours * 3600000U + minutes * 60000U + seconds * 1000U +
         static_cast<std::uint32_t>(static_cast<std::int32_t>(frames));
}
