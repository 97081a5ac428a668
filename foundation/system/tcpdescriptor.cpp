// SPDX-License-Identifier: MIT
//
// Linux: socket and accept4 that make close-on-exec descriptors in one step (POSIX has them since
// 2024; elsewhere fcntl would follow), and epoll. Systems without it have kqueue, whose descriptor
// is readable in the same way, with EVFILT_WRITE.
#include "foundation/system/tcpdescriptor.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

UniqueFd TcpMakeSocket(int family) {
  UniqueFd made(socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
  const int on = 1;
  if (made && family == AF_INET6) setsockopt(made.Get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
  return made;
}

UniqueFd TcpAcceptFrom(int listening, TcpAddress& peer) {
  sockaddr_storage address = {};
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  UniqueFd accepted(accept4(listening, any, &size, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (accepted) peer = TcpAddress(any, size);
  return accepted;
}

bool TcpMakeNonBlocking(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFL);
  return flags >= 0 && fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) == 0 &&
         fcntl(descriptor, F_SETFD, FD_CLOEXEC) == 0;
}

UniqueFd TcpMakeWritableWatch() {
  return UniqueFd(epoll_create1(EPOLL_CLOEXEC));
}

bool TcpWatch(const UniqueFd& watch, int socket) {
  epoll_event event = {};
  event.events = EPOLLOUT;
  event.data.fd = socket;
  return epoll_ctl(watch.Get(), EPOLL_CTL_ADD, socket, &event) == 0;
}

bool TcpIsWritable(int socket) {
  pollfd entry = {.fd = socket, .events = POLLOUT, .revents = 0};
  return poll(&entry, 1, 0) > 0;
}
