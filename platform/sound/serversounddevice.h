// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SOUND_SERVERSOUNDDEVICE_H
#define ZORVEX_PLATFORM_SOUND_SERVERSOUNDDEVICE_H

#include <memory>
#include <string>

#include "platform/gstreamer/sourcedevice.h"
#include "platform/sound/soundservers.h"

namespace gstreamer {

/// A source of a sound server. The server shares it among all who want it, so opening claims
/// nothing and nobody else's use is in the way.
///
/// It is connected while the server lists it. A stream whose source goes away ends: it is not to go
/// on with the sound of another source, as servers would have it.
class ServerSoundDevice final : public SourceDevice {
 public:
  ServerSoundDevice(SoundSystem system, const ServerSource& source,
                    std::shared_ptr<SoundServers> servers);

  bool HasMediaType(QTMediaType mediaType) const override;
  bool IsConnected() const override;
  bool IsInUseByAnotherApplication() const override { return false; }
  std::vector<Retained<QTFormatDescription>> FormatDescriptions() override;

  bool Is(SoundSystem system, const std::string& source) const {
    return system == system_ && source == source_;
  }

 protected:
  bool OpenDevice() override { return IsConnected(); }
  void CloseDevice() override {}
  Source MakeSource(const CVPixelBufferAttributes& wish) override;
  void SourceEnded() override {}

 private:
  const SoundSystem system_;
  const std::string source_;  ///< the server's name of it
  const std::shared_ptr<SoundServers> servers_;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_SOUND_SERVERSOUNDDEVICE_H
