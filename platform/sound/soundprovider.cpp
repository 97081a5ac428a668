// SPDX-License-Identifier: MIT
#include "platform/sound/soundprovider.h"

#include <algorithm>
#include <chrono>
#include <string_view>

namespace gstreamer {

std::vector<Retained<ListedDevice>> SoundProvider::Devices() {
  const SoundView view = servers_->Look(std::chrono::milliseconds::zero());
  for (const ServerSource& source : view.sources)
    AddServerSource(view.system, source);
  if (view.system == SoundSystem::Alsa) {
    for (const AlsaPcm& pcm : FindAlsaPcms())
      AddPcm(pcm);
  }
  std::vector<Retained<ListedDevice>> devices(serverDevices_.begin(), serverDevices_.end());
  devices.insert(devices.end(), alsaDevices_.begin(), alsaDevices_.end());
  return devices;
}

void SoundProvider::AddServerSource(SoundSystem system, const ServerSource& source) {
  const bool isKnown =
      std::any_of(serverDevices_.begin(), serverDevices_.end(),
                  [&](const auto& known) { return known->Is(system, source.name); });
  if (!isKnown) serverDevices_.push_back(MakeRetained<ServerSoundDevice>(system, source, servers_));
}

void SoundProvider::AddPcm(const AlsaPcm& pcm) {
  const auto device = MakeRetained<AlsaDevice>(pcm, servers_);
  // A device that comes back is the one it was: known by its place and serial number, or by the
  // serial number alone when it was plugged in elsewhere.
  Retained<AlsaDevice> known;
  for (const auto& other : alsaDevices_) {
    if (other->Node() == pcm.node) return;
    if (other->IsPresent()) continue;
    const bool isSame = std::string_view(other->UniqueID()) == device->UniqueID();
    const bool isMoved = !pcm.model.empty() && other->Model() == pcm.model;
    if (isSame || (isMoved && !known)) known = other;
    if (isSame) break;
  }
  if (known) {
    known->SetPcm(pcm);
  } else {
    alsaDevices_.push_back(device);
  }
}

}  // namespace gstreamer
