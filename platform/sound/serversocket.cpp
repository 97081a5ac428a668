// SPDX-License-Identifier: MIT
#include "platform/sound/serversocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace {

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// Adds the file of a folder, unless the folder is not known.
void AddFile(std::vector<std::string>& paths, const std::string& folder, const char* file) {
  if (!folder.empty()) paths.push_back(folder + "/" + file);
}

/// One entry of PULSE_SERVER: "[{machine}][unix:]/path", or something that is no local socket.
std::string PathOfPulseServer(std::string entry) {
  if (entry.starts_with('{')) entry.erase(0, entry.find('}') + 1);
  if (entry.starts_with("unix:")) entry.erase(0, 5);
  return entry.starts_with('/') ? entry : std::string();
}

}  // namespace

namespace gstreamer {

std::vector<std::string> PulseSocketPaths() {
  std::vector<std::string> paths;
  const std::string servers = Environment("PULSE_SERVER");
  if (!servers.empty()) {
    std::istringstream entries(servers);
    for (std::string entry; entries >> entry;) {
      const std::string path = PathOfPulseServer(entry);
      if (!path.empty()) paths.push_back(path);
    }
    return paths;
  }
  AddFile(paths, Environment("PULSE_RUNTIME_PATH"), "native");
  AddFile(paths, Environment("XDG_RUNTIME_DIR"), "pulse/native");
  AddFile(paths, "/run/pulse", "native");
  return paths;
}

std::vector<std::string> PipeWireSocketPaths() {
  std::string name = Environment("PIPEWIRE_REMOTE");
  if (name.starts_with('/')) return {name};
  if (name.empty()) name = "pipewire-0";
  std::vector<std::string> paths;
  AddFile(paths, Environment("PIPEWIRE_RUNTIME_DIR"), name.c_str());
  if (paths.empty()) AddFile(paths, Environment("XDG_RUNTIME_DIR"), name.c_str());
  return paths;
}

ServerSocket::ServerSocket(const std::vector<std::string>& paths, std::chrono::milliseconds limit)
    : end_(Clock::now() + limit) {
  for (const std::string& path : paths) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) continue;
    std::memcpy(address.sun_path, path.data(), path.size());
    UniqueFd attempt(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!attempt) return;
    const auto* generic = reinterpret_cast<const sockaddr*>(&address);
    const bool isConnected = connect(attempt.Get(), generic, sizeof address) == 0;
    // A server that does not take its connections has too many of them at some time.
    if (!isConnected && errno != EAGAIN) continue;
    path_ = path;
    if (isConnected) socket_ = std::move(attempt);
    return;
  }
}

std::chrono::milliseconds ServerSocket::TimeLeft() const {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::now());
  return std::max(left, std::chrono::milliseconds::zero());
}

bool ServerSocket::WaitFor(short events) const {
  pollfd wait{socket_.Get(), events, 0};
  int ready = 0;
  do {
    ready = poll(&wait, 1, static_cast<int>(TimeLeft().count()));
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

bool ServerSocket::Send(std::span<const unsigned char> bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(sent));
    } else if ((errno != EAGAIN && errno != EINTR) || !WaitFor(POLLOUT)) {
      return false;
    }
  }
  return true;
}

bool ServerSocket::Receive(std::span<unsigned char> bytes) {
  while (!bytes.empty()) {
    const ssize_t received = recv(socket_.Get(), bytes.data(), bytes.size(), 0);
    if (received > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(received));
    } else if (received == 0 || (errno != EAGAIN && errno != EINTR) || !WaitFor(POLLIN)) {
      return false;
    }
  }
  return true;
}

void ServerSocket::Break() const {
  shutdown(socket_.Get(), SHUT_RDWR);
}

}  // namespace gstreamer
