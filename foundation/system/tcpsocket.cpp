// SPDX-License-Identifier: MIT
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "foundation/system/tcp.h"
#include "foundation/system/tcpaddress.h"
#include "foundation/system/tcpdescriptor.h"
#include "foundation/system/tcpreceivebuffer.h"

namespace {

bool SetOption(int socket, int level, int option, int value) {
  return setsockopt(socket, level, option, &value, sizeof value) == 0;
}

int CloseAndForget(int& descriptor) {
  // Not tried again when interrupted: the descriptor is gone either way.
  if (descriptor >= 0) close(descriptor);
  return std::exchange(descriptor, -1);
}

void Tell(const char* text, unsigned short from, char* address, unsigned short& port) {
  std::strcpy(address, text);
  port = from;
}

void Tell(const char* text, unsigned short from, LStringLongTemplate<char>& address,
          unsigned short& port) {
  address = text;
  port = from;
}

}  // namespace

LTcpSocket::LTcpSocket() = default;

LTcpSocket::LTcpSocket(LTcpSocket&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      writable_(std::exchange(other.writable_, -1)),
      peerPort_(std::exchange(other.peerPort_, static_cast<unsigned short>(0))),
      isAtEnd_(std::exchange(other.isAtEnd_, false)),
      isMoreLikely_(std::exchange(other.isMoreLikely_, false)),
      broken_(other.broken_.exchange(0)),
      host_(std::move(other.host_)),
      peer_(std::move(other.peer_)),
      buffer_(std::move(other.buffer_)) {}

LTcpSocket& LTcpSocket::operator=(LTcpSocket&& other) noexcept {
  if (this == &other) return *this;
  Close();
  descriptor_ = std::exchange(other.descriptor_, -1);
  writable_ = std::exchange(other.writable_, -1);
  peerPort_ = std::exchange(other.peerPort_, static_cast<unsigned short>(0));
  isAtEnd_ = std::exchange(other.isAtEnd_, false);
  isMoreLikely_ = std::exchange(other.isMoreLikely_, false);
  broken_ = other.broken_.exchange(0);
  host_ = std::move(other.host_);
  peer_ = std::move(other.peer_);
  buffer_ = std::move(other.buffer_);
  return *this;
}

LTcpSocket::~LTcpSocket() {
  Close();
}

void LTcpSocket::Adopt(int descriptor, const char* host, const TcpAddress& peer) {
  Close();
  peer_ = peer.ToText().data();
  host_ = host != nullptr ? host : peer_.Text();
  peerPort_ = peer.Port();
  descriptor_ = descriptor;
  SetNoDelay(true);
}

bool LTcpSocket::Attach(int descriptor) {
  int type = 0;
  socklen_t size = sizeof type;
  if (getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) != 0 || type != SOCK_STREAM)
    return false;
  const TcpAddress peer = TcpAddress::PeerOf(descriptor);
  if (peer.Family() == AF_UNSPEC || !TcpMakeNonBlocking(descriptor)) return false;
  Adopt(descriptor, nullptr, peer);
  return true;
}

int LTcpSocket::Detach() {
  const int descriptor = std::exchange(descriptor_, -1);
  Close();
  return descriptor;
}

void LTcpSocket::Close() {
  CloseAndForget(writable_);
  CloseAndForget(descriptor_);
  buffer_.reset();
  host_.SetLength(0);
  peer_.SetLength(0);
  peerPort_ = 0;
  broken_ = 0;
  isAtEnd_ = false;
  isMoreLikely_ = false;
}

bool LTcpSocket::ShutdownSending() {
  return shutdown(descriptor_, SHUT_WR) == 0;
}

std::size_t LTcpSocket::Buffered() const {
  return buffer_ ? buffer_->Text().size() : 0;
}

void LTcpSocket::AddTo(LSignalObjectGroup& group) const {
  group.Add(LSignalObjectRef(descriptor_, -1));
}

void LTcpSocket::PeerAddress(char* address, unsigned short& port) const {
  Tell(peer_.Text(), peerPort_, address, port);
}

void LTcpSocket::PeerAddress(LStringLongTemplate<char>& address, unsigned short& port) const {
  Tell(peer_.Text(), peerPort_, address, port);
}

void LTcpSocket::OwnAddress(char* address, unsigned short& port) const {
  const TcpAddress own = TcpAddress::OwnOf(descriptor_);
  Tell(own.ToText().data(), own.Port(), address, port);
}

void LTcpSocket::OwnAddress(LStringLongTemplate<char>& address, unsigned short& port) const {
  const TcpAddress own = TcpAddress::OwnOf(descriptor_);
  Tell(own.ToText().data(), own.Port(), address, port);
}

bool LTcpSocket::SetNoDelay(bool on) {
  return SetOption(descriptor_, IPPROTO_TCP, TCP_NODELAY, on ? 1 : 0);
}

bool LTcpSocket::SetKeepAlive(unsigned int idle) {
  if (idle == 0) return SetOption(descriptor_, SOL_SOCKET, SO_KEEPALIVE, 0);
  // The most that Linux takes for either is 32767 seconds.
  const int seconds = static_cast<int>(std::min((idle - 1) / 1000 + 1, 32767U));
#ifdef TCP_KEEPIDLE
  constexpr int idleOption = TCP_KEEPIDLE;
#else
  constexpr int idleOption = TCP_KEEPALIVE;
#endif
  return SetOption(descriptor_, IPPROTO_TCP, idleOption, seconds) &&
         SetOption(descriptor_, IPPROTO_TCP, TCP_KEEPINTVL, (seconds + 9) / 10) &&
         SetOption(descriptor_, IPPROTO_TCP, TCP_KEEPCNT, 10) &&
         SetOption(descriptor_, SOL_SOCKET, SO_KEEPALIVE, 1);
}
