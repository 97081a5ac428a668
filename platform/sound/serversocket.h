// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SOUND_SERVERSOCKET_H
#define ZORVEX_PLATFORM_SOUND_SERVERSOCKET_H

#include <chrono>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "platform/uniquefd.h"

/// The local sockets of sound servers.
namespace gstreamer {

/// Where a PulseAudio server may listen: what PULSE_SERVER says, or else the user's own server and
/// the machine's. A server on another machine is not among them.
std::vector<std::string> PulseSocketPaths();

/// Where the PipeWire daemon may listen, by PIPEWIRE_REMOTE and PIPEWIRE_RUNTIME_DIR or else in the
/// user's runtime folder.
std::vector<std::string> PipeWireSocketPaths();

/// A connection to one of them that waits for nobody longer than the time it was given.
class ServerSocket {
 public:
  using Clock = std::chrono::steady_clock;

  /// Connects to the first path that somebody listens on; starts nothing.
  ServerSocket(const std::vector<std::string>& paths, std::chrono::milliseconds limit);

  /// Whether there is a server. It may be too busy to have taken the connection.
  bool IsListening() const { return !path_.empty(); }
  bool IsConnected() const { return static_cast<bool>(socket_); }
  const std::string& Path() const { return path_; }
  int Descriptor() const { return socket_.Get(); }
  std::chrono::milliseconds TimeLeft() const;

  /// False when not all went through in time.
  bool Send(std::span<const unsigned char> bytes);
  bool Receive(std::span<unsigned char> bytes);
  /// Whoever uses the connection finds it broken.
  void Break() const;

 private:
  bool WaitFor(short events) const;

  Clock::time_point end_;
  std::string path_;
  UniqueFd socket_;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_SOUND_SERVERSOCKET_H
