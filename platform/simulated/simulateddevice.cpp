// SPDX-License-Identifier: MIT
#include "platform/simulated/simulateddevice.h"

#include <utility>

#include "platform/simulated/media.h"
#include "platform/simulated/simulateddeck.h"
#include "platform/simulated/simulatedsource.h"

namespace {

using Kind = SimulatedDescription::Kind;
using Opening = SimulatedDescription::Opening;
using Format = Retained<QTFormatDescription>;

constexpr std::uint32_t kDvStream = FourCharCode("dv  ");
constexpr std::uint32_t kDvPictures525 = FourCharCode("dvc ");
constexpr std::uint32_t kDvPictures625 = FourCharCode("dvcp");

QTMediaType MediaTypeOf(Kind kind) {
  switch (kind) {
    case Kind::Camera:
      return QTMediaType::QTMediaTypeVideo;
    case Kind::Camcorder:
      return QTMediaType::QTMediaTypeMuxed;
    default:
      return QTMediaType::QTMediaTypeSound;
  }
}

Format PictureFormat(const SimulatedDescription& device) {
  std::uint32_t type = device.pixelFormat;
  if (device.tape) type = device.height == 576 ? kDvPictures625 : kDvPictures525;
  QTFormatDescriptionAttributes attributes;
  attributes.QTFormatDescriptionVideoEncodedPixelsSizeAttribute =
      NSSize{static_cast<double>(device.width), static_cast<double>(device.height)};
  return MakeRetained<QTFormatDescription>(QTMediaType::QTMediaTypeVideo, type, attributes);
}

Format SoundFormat(int rate, int channels) {
  const auto count = static_cast<std::uint32_t>(channels);
  QTFormatDescriptionAttributes attributes;
  attributes.QTFormatDescriptionAudioStreamBasicDescriptionAttribute = AudioStreamBasicDescription{
      .mSampleRate = static_cast<double>(rate),
      .mFormatID = kAudioFormatLinearPCM,
      .mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked,
      .mBytesPerPacket = 2 * count,
      .mFramesPerPacket = 1,
      .mBytesPerFrame = 2 * count,
      .mChannelsPerFrame = count,
      .mBitsPerChannel = 16,
      .mReserved = 0};
  return MakeRetained<QTFormatDescription>(QTMediaType::QTMediaTypeSound, kAudioFormatLinearPCM,
                                           attributes);
}

}  // namespace

SimulatedDevice::SimulatedDevice(SimulatedDescription description, std::string uniqueId,
                                 std::string orderKey)
    : SourceDevice(description.name, std::move(uniqueId), std::move(orderKey)),
      hardware_(std::make_shared<SimulatedHardware>(std::move(description))),
      transport_(std::make_shared<SimulatedDeck>(hardware_)) {}

bool SimulatedDevice::HasMediaType(QTMediaType mediaType) const {
  return mediaType == MediaTypeOf(hardware_->Description().kind);
}

std::vector<Format> SimulatedDevice::FormatDescriptions() {
  if (!IsDeck()) return StreamDescriptions();
  return {MakeRetained<QTFormatDescription>(QTMediaType::QTMediaTypeMuxed, kDvStream,
                                            QTFormatDescriptionAttributes{})};
}

std::vector<Format> SimulatedDevice::StreamDescriptions() {
  const SimulatedDescription& device = hardware_->Description();
  if (device.kind == Kind::Microphone) return {SoundFormat(device.sampleRate, device.channels)};
  std::vector<Format> formats{PictureFormat(device)};
  if (device.kind == Kind::Camera) return formats;
  const bool isSilent = device.tape && !device.tape->Sound();
  const int rate = device.tape && !isSilent ? device.tape->Sound()->rate : kTapeSoundRate;
  if (!isSilent) formats.push_back(SoundFormat(rate, kTapeSoundChannels));
  return formats;
}

bool SimulatedDevice::IsMediaExpected() {
  if (!IsDeck()) return true;
  // The one picture of a step may have gone already.
  const TapeMotion motion = hardware_->Tape().Motion();
  return motion.drive.isViewable;
}

bool SimulatedDevice::IsDeck() const {
  return hardware_->Description().kind == Kind::Camcorder;
}

QTCaptureDeviceAttributes SimulatedDevice::DeviceAttributes() const {
  return {.QTCaptureDeviceAVCTransportControlsAttribute = IsDeck()};
}

std::optional<QTCaptureDeviceAVCTransportControls>
SimulatedDevice::AVCTransportControlsAttribute() {
  return IsDeck() ? transport_.Controls() : std::nullopt;
}

void SimulatedDevice::SetAVCTransportControlsAttribute(
    const QTCaptureDeviceAVCTransportControls& controls) {
  if (IsDeck()) transport_.SetControls(controls);
}

bool SimulatedDevice::OpenDevice() {
  const SimulatedDescription& description = hardware_->Description();
  if (description.opening == Opening::Hangs) hardware_->Hang();
  if (description.opening == Opening::Refused || description.busy || !hardware_->IsConnected()) {
    return false;
  }
  hardware_->NoteOpening();
  return true;
}

/// The device has one mode, which its pads allow alone.
SourceDevice::Source SimulatedDevice::MakeSource(const CVPixelBufferAttributes&) {
  if (!hardware_->IsConnected()) return {};
  return {.element = NewSimulatedSource(hardware_), .caps = nullptr};
}
