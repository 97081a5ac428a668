// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SOUND_SOUNDPROVIDER_H
#define ZORVEX_PLATFORM_SOUND_SOUNDPROVIDER_H

#include <memory>
#include <vector>

#include "platform/deviceprovider.h"
#include "platform/sound/alsadevice.h"
#include "platform/sound/serversounddevice.h"
#include "platform/sound/soundservers.h"

namespace gstreamer {

/// The sound sources of this machine, looked up anew at each call: those of the sound server where
/// one runs, else those of the cards themselves. So no source is there twice. Cards that were seen
/// before a server took them stay in the list as not connected, and the other way round.
class SoundProvider final : public DeviceProvider {
 public:
  std::vector<Retained<ListedDevice>> Devices() override;

 private:
  void AddServerSource(SoundSystem system, const ServerSource& source);
  void AddPcm(const AlsaPcm& pcm);

  const std::shared_ptr<SoundServers> servers_ = std::make_shared<SoundServers>();
  std::vector<Retained<ServerSoundDevice>> serverDevices_;
  std::vector<Retained<AlsaDevice>> alsaDevices_;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_SOUND_SOUNDPROVIDER_H
