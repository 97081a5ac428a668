// SPDX-License-Identifier: MIT
#include "foundation/system/tcpaddress.h"

#include <netdb.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstring>

namespace {

// The storage is one of the two; the socket interface means them to be reached like this.
template <typename Address>
Address& As(sockaddr_storage& storage) {
  return reinterpret_cast<Address&>(storage);
}
template <typename Address>
const Address& As(const sockaddr_storage& storage) {
  return reinterpret_cast<const Address&>(storage);
}

}  // namespace

TcpAddress::TcpAddress(const sockaddr* address, socklen_t size)
    : size_(std::min<socklen_t>(size, sizeof storage_)) {
  std::memcpy(&storage_, address, size_);
  const auto& six = As<const sockaddr_in6>(storage_);
  if (Family() != AF_INET6 || !IN6_IS_ADDR_V4MAPPED(&six.sin6_addr)) return;
  sockaddr_in four = {};
  four.sin_family = AF_INET;
  four.sin_port = six.sin6_port;
  std::memcpy(&four.sin_addr, &six.sin6_addr.s6_addr[12], sizeof four.sin_addr);
  *this = TcpAddress(reinterpret_cast<const sockaddr*>(&four), sizeof four);
}

TcpAddress TcpAddress::OwnOf(int socket) {
  TcpAddress own;
  own.size_ = sizeof own.storage_;
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&own.storage_), &own.size_) != 0) return {};
  return own;
}

TcpAddress TcpAddress::PeerOf(int socket) {
  TcpAddress peer;
  peer.size_ = sizeof peer.storage_;
  if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer.storage_), &peer.size_) != 0) return {};
  return peer;
}

TcpAddress TcpAddress::AnyOf(int family) {
  TcpAddress any;
  any.storage_.ss_family = static_cast<sa_family_t>(family);
  any.size_ = family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
  return any;
}

unsigned short TcpAddress::Port() const {
  if (Family() == AF_INET) return ntohs(As<sockaddr_in>(storage_).sin_port);
  if (Family() == AF_INET6) return ntohs(As<sockaddr_in6>(storage_).sin6_port);
  return 0;
}

void TcpAddress::SetPort(unsigned short port) {
  if (Family() == AF_INET) As<sockaddr_in>(storage_).sin_port = htons(port);
  if (Family() == AF_INET6) As<sockaddr_in6>(storage_).sin6_port = htons(port);
}

bool TcpAddress::operator==(const TcpAddress& other) const {
  if (Family() != other.Family() || Port() != other.Port()) return false;
  if (Family() == AF_INET) {
    return As<sockaddr_in>(storage_).sin_addr.s_addr ==
           As<sockaddr_in>(other.storage_).sin_addr.s_addr;
  }
  const auto& one = As<sockaddr_in6>(storage_);
  const auto& two = As<sockaddr_in6>(other.storage_);
  return Family() == AF_INET6 && one.sin6_scope_id == two.sin6_scope_id &&
         std::memcmp(&one.sin6_addr, &two.sin6_addr, sizeof one.sin6_addr) == 0;
}

TcpAddress::Text TcpAddress::ToText() const {
  Text text = {};
  if (Family() == AF_INET || Family() == AF_INET6) {
    getnameinfo(Get(), size_, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST);
  }
  return text;
}
