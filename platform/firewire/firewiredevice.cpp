// SPDX-License-Identifier: MIT
#include "platform/firewire/firewiredevice.h"

#include <glib.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "platform/boundedcall.h"
#include "platform/dv/dvsource.h"
#include "platform/firewire/hdvsource.h"
#include "platform/firewire/pluggedsource.h"
#include "platform/firewire/unitchannel.h"
#include "platform/fourcharcode.h"

namespace {

using std::chrono::milliseconds;
using Controls = QTCaptureDeviceAVCTransportControls;

constexpr milliseconds kAnswerLimit{400};
/// A little more than what the transport takes at most: this is for a driver that hangs.
constexpr milliseconds kTransportLimit{1500};

std::string UniqueId(std::uint64_t guid) {
  char text[32];
  std::snprintf(text, sizeof text, "firewire:%016llx", static_cast<unsigned long long>(guid));
  return text;
}

/// Valid UTF-8 without control characters and surrounding blanks.
std::string Repaired(const std::string& text) {
  gchar* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  std::string result;
  for (const gchar* at = valid; *at; at = g_utf8_next_char(at)) {
    if (g_unichar_iscntrl(g_utf8_get_char(at))) continue;
    result.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
  }
  g_free(valid);
  const std::size_t begin = result.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  return result.substr(begin, result.find_last_not_of(' ') - begin + 1);
}

std::string NameOf(const firewire::FireWireNode& node) {
  std::string vendor = Repaired(node.vendor), model = Repaired(node.model);
  if (vendor.empty() && model.empty()) return "DV Camcorder";
  if (vendor.empty() || model.starts_with(vendor)) return model;
  return model.empty() ? vendor : vendor + " " + model;
}

std::shared_ptr<AvcTransport> NewTransport(const std::shared_ptr<firewire::FireWireBus>& bus,
                                           std::uint64_t guid) {
  return std::make_shared<AvcTransport>(std::make_shared<firewire::UnitChannel>(bus, guid));
}

bool IsHdv(avc::Signal signal) {
  return signal == avc::Signal::Hdv60 || signal == avc::Signal::Hdv50;
}

std::uint32_t FormatOf(avc::Signal signal) {
  switch (signal) {
    case avc::Signal::Dv50:
      return FourCharCode("dvcp");
    case avc::Signal::Hdv60:
      return FourCharCode("hdv2");
    case avc::Signal::Hdv50:
      return FourCharCode("hdv3");
    default:
      return FourCharCode("dvc ");
  }
}

QTFormatDescriptionAttributes PictureAttributes(avc::Signal signal) {
  QTFormatDescriptionAttributes attributes;
  // HDV has several sizes; the stream tells.
  if (!IsHdv(signal)) {
    attributes.QTFormatDescriptionVideoEncodedPixelsSizeAttribute =
        NSSize{720, signal == avc::Signal::Dv50 ? 576.0 : 480.0};
  }
  return attributes;
}

}  // namespace

namespace firewire {

FireWireDevice::FireWireDevice(std::shared_ptr<FireWireBus> bus, const FireWireNode& node,
                               bool hasTransport)
    // As a decimal number the GUID is ordered by its value.
    : SourceDevice(NameOf(node), UniqueId(node.guid), std::to_string(node.guid)),
      bus_(std::move(bus)),
      guid_(node.guid),
      transport_(hasTransport ? NewTransport(bus_, node.guid) : nullptr) {}

bool FireWireDevice::IsConnected() const {
  return FindNode(*bus_, guid_).has_value();
}

bool FireWireDevice::IsInUseByAnotherApplication() const {
  if (IsOpen()) return false;
  const auto node = FindNode(*bus_, guid_);
  return node && NodeLock::IsBusy(node->path);
}

/// What the unit sends at present, by the tape in it. One that does not say sends what it did.
avc::Signal FireWireDevice::Signal() {
  if (transport_) {
    RunBounded(kAnswerLimit * 2, [self = Retained<FireWireDevice>(this)] {
      UnitChannel channel(self->bus_, self->guid_);
      if (const auto signal = avc::ReadOutputSignal(channel, kAnswerLimit)) {
        self->lastSignal_ = *signal;
      }
    });
  }
  return lastSignal_;
}

std::vector<Retained<QTFormatDescription>> FireWireDevice::FormatDescriptions() {
  return {MakeRetained<QTFormatDescription>(QTMediaType::QTMediaTypeMuxed, FormatOf(Signal()),
                                            QTFormatDescriptionAttributes{})};
}

std::vector<Retained<QTFormatDescription>> FireWireDevice::StreamDescriptions() {
  const avc::Signal signal = Signal();
  return {MakeRetained<QTFormatDescription>(QTMediaType::QTMediaTypeVideo, FormatOf(signal),
                                            PictureAttributes(signal)),
          // Rate and channels are those of the recording.
          MakeRetained<QTFormatDescription>(QTMediaType::QTMediaTypeSound, kAudioFormatLinearPCM,
                                            QTFormatDescriptionAttributes{})};
}

bool FireWireDevice::IsMediaExpected() {
  const auto controls = AVCTransportControlsAttribute();
  if (!controls) return true;  // no tape in control of it: a converter, or in camera mode
  return controls->QTCaptureDeviceAVCTransportControlsPlaybackModeKey == 1 &&
         controls->QTCaptureDeviceAVCTransportControlsSpeedKey != 0;
}

QTCaptureDeviceAttributes FireWireDevice::DeviceAttributes() const {
  return {.QTCaptureDeviceAVCTransportControlsAttribute = transport_ != nullptr};
}

std::optional<Controls> FireWireDevice::AVCTransportControlsAttribute() {
  if (!transport_) return std::nullopt;
  const auto answer = std::make_shared<std::optional<Controls>>();
  const BoundedCall call = RunBounded(
      kTransportLimit, [answer, transport = transport_] { *answer = transport->Controls(); });
  return call == BoundedCall::Done ? *answer : std::nullopt;
}

void FireWireDevice::SetAVCTransportControlsAttribute(const Controls& controls) {
  if (!transport_) return;
  RunBounded(kTransportLimit,
             [controls, transport = transport_] { transport->SetControls(controls); });
}

bool FireWireDevice::Hold(const FireWireNode& node) {
  const std::lock_guard lock(lockMutex_);
  if (lock_.IsOn(node.path)) return true;
  return lock_.Take(node.path) == NodeLock::Result::Taken;
}

bool FireWireDevice::OpenDevice() {
  const auto node = FindNode(*bus_, guid_);
  return node && Hold(*node);
}

void FireWireDevice::CloseDevice() {
  const std::lock_guard lock(lockMutex_);
  lock_.Release();
}

SourceDevice::Source FireWireDevice::MakeSource(const CVPixelBufferAttributes&) {
  // It may have been unplugged and plugged in again since it was opened.
  const auto node = FindNode(*bus_, guid_);
  if (!node || !Hold(*node)) return {};
  const bool isHdv = IsHdv(Signal());
  GstElement* stream = bus_->NewStream(guid_, isHdv);
  if (!stream) return {};
  GstElement* source = isHdv ? NewHdvSource(stream) : gstreamer::NewDvSource(stream);
  if (!source) return {};
  return {.element = NewPluggedSource(
              source, [bus = bus_, guid = guid_] { return FindNode(*bus, guid).has_value(); }),
          .caps = nullptr};
}

}  // namespace firewire
