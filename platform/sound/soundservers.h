// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SOUND_SOUNDSERVERS_H
#define ZORVEX_PLATFORM_SOUND_SOUNDSERVERS_H

#include <gst/gst.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace gstreamer {

/// Who has the sound devices of this machine, as far as this process is concerned.
enum class SoundSystem { Alsa, PulseAudio, PipeWire };

/// A source of a sound server, as the server tells it.
struct ServerSource {
  std::string name;         ///< the server's own, the same after a restart
  std::string description;  ///< for people
  std::shared_ptr<GstCaps> offered;
};

/// What a sound server said when it was asked for its sources.
struct SourcesAnswer {
  enum Kind {
    Given,
    Refused,  ///< it does not talk with this process, or not in a way that is understood
    Silent,   ///< it did not answer in time
  };
  Kind kind = Refused;
  std::vector<ServerSource> sources;
};

/// What was found in one look.
struct SoundView {
  SoundSystem system = SoundSystem::Alsa;
  std::string socket;                 ///< path of the server's
  std::vector<ServerSource> sources;  ///< of the server, without the monitors of outputs

  /// Null when this system is not the one, or has no such source.
  const ServerSource* Find(SoundSystem wanted, const std::string& name) const;
};

/// Looks for a sound server: PulseAudio's interface first, which PipeWire has as well, then
/// PipeWire's own. A look takes a few milliseconds, keeps no thread and no connection, starts no
/// server and ends within a second when the server does not answer. Thread-safe.
class SoundServers {
 public:
  /// What there is; found by a look of `oldest` ago at most.
  SoundView Look(std::chrono::milliseconds oldest);

 private:
  using Clock = std::chrono::steady_clock;

  std::mutex mutex_;  ///< held while looking, so that two threads need but one look
  SoundView view_;
  Clock::time_point lookAgain_ = Clock::time_point::min();  ///< after a server did not answer
  Clock::time_point looked_ = Clock::time_point::min();
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_SOUND_SOUNDSERVERS_H
