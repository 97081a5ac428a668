// SPDX-License-Identifier: MIT
#include "foundation/threads/namedevent.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"

namespace {

// How many signals wait for a waiter that is busy; the system takes one more.
constexpr int kBacklog = 5;

// All zero but for the family and the path. A path that does not fit is left out.
sockaddr_un AddressOf(const char* name) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  char path[kPathSize];
  LFile::GetUserDataFolder(path);
  LFile::_MakeFilePath(path, path, name, "");
  const std::size_t length = std::strlen(path);
  if (length < sizeof address.sun_path) std::copy_n(path, length, address.sun_path);
  return address;
}

// Without a path the address must never be used: to Linux its zeros are a name, too, which all such
// events would share, with the processes of all users.
bool HasPath(const sockaddr_un& address) {
  return address.sun_path[0] != '\0';
}

const sockaddr* Generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

void MakeNonBlocking(int descriptor) {
  fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
}

// The address goes to connect and bind in its full size, with the zeros behind the path. The two
// sides need not agree on that, but do.
void SignalAddress(const sockaddr_un& address) {
  if (!HasPath(address)) return;
  const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
  // A blocking connect would wait, for ever if need be, for a waiter with a full backlog.
  MakeNonBlocking(descriptor);
  // Deliberately without closing the socket.
  if (connect(descriptor, Generic(address), sizeof address) != 0) return;
  const unsigned char token = 1;
  // The waiter may have ended by now, which is no reason to end this process.
  send(descriptor, &token, sizeof token, MSG_NOSIGNAL);
  close(descriptor);
}

void Drain(int descriptor) {
  if (descriptor != -1) LSignalObjectRef(descriptor, -1).Reset();
}

void CloseAndRemove(int descriptor, const sockaddr_un& address) {
  if (descriptor == -1) return;
  close(descriptor);
  unlink(address.sun_path);
}

// Non-blocking, and deliberately nothing more: programs that are executed inherit it.
int Listen(const sockaddr_un& address) {
  if (!HasPath(address)) return -1;
  const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
  if (descriptor == -1) return -1;
  MakeNonBlocking(descriptor);
  unlink(address.sun_path);
  if (bind(descriptor, Generic(address), sizeof address) != 0) {
    close(descriptor);
    return -1;
  }
  listen(descriptor, kBacklog);
  return descriptor;
}

}  // namespace

LSignalObjectNamedSignaller::LSignalObjectNamedSignaller(const char* name)
    : address_(AddressOf(name)) {}

void LSignalObjectNamedSignaller::Signal() {
  SignalAddress(address_);
}

LSignalObjectNamed::LSignalObjectNamed(const char* name) : address_(AddressOf(name)) {}

LSignalObjectNamed::~LSignalObjectNamed() {
  CloseAndRemove(descriptor_, address_);
}

void LSignalObjectNamed::Signal() {
  SignalAddress(address_);
}

void LSignalObjectNamed::Reset() {
  Drain(descriptor_);
}

LSignalObjectNamedWaiter::LSignalObjectNamedWaiter(const char* name)
    : address_(AddressOf(name)), listening_(Listen(address_)) {}

// Deliberately nothing without an accepted connection, and nothing at all to the listening socket.
LSignalObjectNamedWaiter::~LSignalObjectNamedWaiter() {
  CloseAndRemove(accepted_, address_);
}

bool LSignalObjectNamedWaiter::WaitSignal(unsigned int timeout) {
  // Without a socket the time is slept out all the same: who waits in a loop does not spin.
  pollfd entry = {.fd = listening_, .events = POLLIN, .revents = 0};
  if (poll(&entry, 1, static_cast<int>(timeout)) < 0) return false;
  // Also when the time is over. Deliberately without closing the connection of the signal before.
  accepted_ = accept(listening_, nullptr, nullptr);
  // That nobody has connected is deliberately no failure.
  if (accepted_ == -1) return errno == EAGAIN;
  // Not every system has a connection take this over from the listening socket. Reset relies on it.
  MakeNonBlocking(accepted_);
  return true;
}

void LSignalObjectNamedWaiter::Reset() {
  Drain(accepted_);
}
