// SPDX-License-Identifier: MIT
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "foundation/system/tcp.h"
#include "foundation/system/tcpaddress.h"
#include "foundation/system/tcpdescriptor.h"
#include "foundation/system/tcperror.h"
#include "foundation/system/tcpresolve.h"
#include "foundation/system/tcpwait.h"

namespace {

using Sockets = std::vector<UniqueFd>;

/// Gives 0 or the system's error number.
int ListenAt(const TcpAddress& address, int backlog, Sockets& sockets) {
  UniqueFd socket = TcpMakeSocket(address.Family());
  // Old connections that fade away do not keep the port from us; another listener does.
  const int on = 1;
  if (!socket || setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      bind(socket.Get(), address.Get(), address.Size()) != 0 ||
      listen(socket.Get(), backlog) != 0) {
    return errno;
  }
  sockets.push_back(std::move(socket));
  return 0;
}

/// What a machine says that has not got the address or the family.
bool IsAbsent(int error) {
  return error == EAFNOSUPPORT || error == EADDRNOTAVAIL || error == EPROTONOSUPPORT;
}

/// Listens at each of the addresses, at the port that the first one got, leaving out what is
/// absent.
int ListenAtEach(std::vector<TcpAddress> addresses, int backlog, Sockets& sockets) {
  int absent = 0;
  unsigned short port = 0;
  for (TcpAddress& address : addresses) {
    if (port != 0) address.SetPort(port);
    const int error = ListenAt(address, backlog, sockets);
    if (error != 0 && !IsAbsent(error)) return error;
    if (error != 0) {
      absent = error;
    } else {
      port = TcpAddress::OwnOf(sockets.back().Get()).Port();
    }
  }
  return sockets.empty() ? absent : 0;
}

/// A port that is free at one address may be in use at the next one: then another one is taken.
int ListenAtAll(const std::vector<TcpAddress>& addresses, int backlog, Sockets& sockets) {
  constexpr int mostPorts = 32;
  int error = 0;
  for (int tried = 0; tried < mostPorts; ++tried) {
    sockets.clear();
    error = ListenAtEach(addresses, backlog, sockets);
    if (error != EADDRINUSE || addresses.front().Port() != 0) break;
  }
  return error;
}

bool IsShortage(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

/// What is told of a connection that was waiting, not of the listening socket. Linux hands on what
/// the network said of it.
bool IsOfTheConnection(int error) {
  return error == ECONNABORTED || error == EPROTO || error == ENETDOWN || error == ENOPROTOOPT ||
         error == EHOSTDOWN || error == EHOSTUNREACH || error == ENETUNREACH ||
         error == EOPNOTSUPP || error == EPERM;
}

}  // namespace

LTcpListener::LTcpListener(LTcpListener&& other) noexcept
    : descriptors_(std::move(other.descriptors_)),
      port_(std::exchange(other.port_, static_cast<unsigned short>(0))),
      first_(std::exchange(other.first_, 0)) {}

LTcpListener& LTcpListener::operator=(LTcpListener&& other) noexcept {
  if (this == &other) return *this;
  Close();
  descriptors_ = std::move(other.descriptors_);
  port_ = std::exchange(other.port_, static_cast<unsigned short>(0));
  first_ = std::exchange(other.first_, 0);
  return *this;
}

LTcpListener::~LTcpListener() {
  Close();
}

void LTcpListener::Close() {
  for (const int descriptor : descriptors_)
    close(descriptor);
  descriptors_.SetCount(0);
  port_ = 0;
  first_ = 0;
}

int LTcpListener::Listen(LProcessInterface& process, const char* host, unsigned short port,
                         unsigned int timeout, int backlog) {
  Close();
  const bool isEverywhere = host == nullptr || *host == '\0';
  const char* const name = isEverywhere ? "any address" : host;
  std::vector<TcpAddress> addresses;
  if (isEverywhere) {
    addresses = {TcpAddress::AnyOf(AF_INET6), TcpAddress::AnyOf(AF_INET)};
    for (TcpAddress& address : addresses)
      address.SetPort(port);
  } else {
    const int resolved = TcpResolve(process, host, port, TcpDeadline(timeout), addresses);
    if (resolved == 2) return TcpReport(process, "find", name, port, timeout);
    if (resolved != 0) return resolved;
  }
  if (process.IsToStop()) return TcpStopped();
  Sockets sockets;
  const int error = ListenAtAll(addresses, backlog, sockets);
  if (error != 0) {
    TcpFailed(error);
    return TcpReport(process, "listen at", name, port, timeout);
  }
  descriptors_.SetCapacity(sockets.size());
  port_ = TcpAddress::OwnOf(sockets.front().Get()).Port();
  for (std::size_t index = 0; index < sockets.size(); ++index)
    descriptors_[index] = sockets[index].Release();
  descriptors_.SetCount(sockets.size());
  return TcpDone();
}

int LTcpListener::TryAccept(LTcpSocket& connection) {
  int error = EAGAIN;
  for (std::size_t index = 0; index < descriptors_.Count(); ++index) {
    TcpAddress peer;
    UniqueFd accepted = TcpAcceptFrom(descriptors_[(first_ + index) % descriptors_.Count()], peer);
    if (!accepted) {
      const bool isToWait = errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
      if (!isToWait && !IsOfTheConnection(errno)) error = errno;
      continue;
    }
    connection.Adopt(accepted.Get(), nullptr, peer);
    accepted.Release();
    first_ = (first_ + index + 1) % descriptors_.Count();
    return 0;
  }
  return error;
}

int LTcpListener::Accept(LProcessInterface& process, LTcpSocket& connection, unsigned int timeout) {
  const TcpDeadline deadline(timeout);
  if (!IsOpen()) return Fail(process, EINVAL);
  unsigned int pause = 5;
  for (;;) {
    const int waited = TcpWait(process, descriptors_.Data(), descriptors_.Count(), deadline);
    if (waited == 1) return 1;
    if (waited == 2) return LTcpLastError() == EAGAIN ? 2 : Fail(process, LTcpLastError());
    const int error = TryAccept(connection);
    if (error == 0) return TcpDone();
    if (error == EAGAIN) continue;
    if (!IsShortage(error) || deadline.IsOver()) return Fail(process, error);
    // The connection stays where it is and would end every wait at once.
    if (process.ProcessWait(std::min(pause, deadline.Remaining())) == 1) return TcpStopped();
    pause = std::min(2 * pause, 100U);
  }
}

int LTcpListener::Fail(LProcessInterface& process, int error) const {
  const TcpAddress own = TcpAddress::OwnOf(IsOpen() ? descriptors_[0] : -1);
  TcpFailed(error);
  return TcpReport(process, "accept a connection at", own.ToText().data(), port_, 0);
}

void LTcpListener::AddTo(LSignalObjectGroup& group) const {
  for (const int descriptor : descriptors_)
    group.Add(LSignalObjectRef(descriptor, -1));
}
