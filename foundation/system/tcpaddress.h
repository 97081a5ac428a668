// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_TCPADDRESS_H
#define ZORVEX_FOUNDATION_SYSTEM_TCPADDRESS_H

#include <sys/socket.h>

#include <array>

/// An IPv4 or IPv6 address with a port, or none.
class TcpAddress {
 public:
  TcpAddress() = default;
  /// One of IPv4 that is written as one of IPv6 (::ffff:192.0.2.1) becomes one of IPv4: the sockets
  /// of IPv6 here keep off that.
  TcpAddress(const sockaddr* address, socklen_t size);
  /// Of a socket's own end and of the other one; none when it has none.
  static TcpAddress OwnOf(int socket);
  static TcpAddress PeerOf(int socket);
  /// 0.0.0.0 and ::
  static TcpAddress AnyOf(int family);

  [[nodiscard]] const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&storage_); }
  [[nodiscard]] socklen_t Size() const { return size_; }
  /// AF_INET, AF_INET6, or another one.
  [[nodiscard]] int Family() const { return size_ == 0 ? AF_UNSPEC : storage_.ss_family; }
  [[nodiscard]] unsigned short Port() const;
  void SetPort(unsigned short port);
  /// The same address, zone and port.
  [[nodiscard]] bool operator==(const TcpAddress& other) const;

  /// Numeric, with its zone and without the port; empty for none.
  using Text = std::array<char, 260>;
  [[nodiscard]] Text ToText() const;

 private:
  sockaddr_storage storage_ = {};
  socklen_t size_ = 0;
};

#endif  // ZORVEX_FOUNDATION_SYSTEM_TCPADDRESS_H
