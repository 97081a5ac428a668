// SPDX-License-Identifier: MIT
//
// Connecting by RFC 8305.
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <vector>

#include "foundation/system/tcp.h"
#include "foundation/system/tcpaddress.h"
#include "foundation/system/tcpdescriptor.h"
#include "foundation/system/tcperror.h"
#include "foundation/system/tcpresolve.h"
#include "foundation/system/tcpwait.h"

namespace {

constexpr std::chrono::milliseconds kAttemptDelay(250);

/// The families in turns, each in the order in which it was.
std::vector<TcpAddress> Interleave(const std::vector<TcpAddress>& addresses) {
  std::vector<TcpAddress> first;
  std::vector<TcpAddress> others;
  for (const TcpAddress& address : addresses)
    (address.Family() == addresses.front().Family() ? first : others).push_back(address);
  std::vector<TcpAddress> mixed;
  for (std::size_t index = 0; index < std::max(first.size(), others.size()); ++index) {
    if (index < first.size()) mixed.push_back(first[index]);
    if (index < others.size()) mixed.push_back(others[index]);
  }
  return mixed;
}

/// Whether the machine never sent anything to the address.
bool IsUnreachable(int error) {
  return error == ENETUNREACH || error == EADDRNOTAVAIL || error == EAFNOSUPPORT;
}

/// A port that nobody listens at may be the one that the system chose for this very connection,
/// which then meets itself and succeeds.
bool IsConnectedToItself(int socket) {
  return TcpAddress::OwnOf(socket) == TcpAddress::PeerOf(socket);
}

/// Closing it in order would keep the port busy, to the harm of who wants to listen at it.
void ResetAtClose(int socket) {
  const linger reset = {.l_onoff = 1, .l_linger = 0};
  setsockopt(socket, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
}

struct Attempt {
  UniqueFd socket;
  TcpAddress address;
};

class Race {
 public:
  Race(const std::vector<TcpAddress>& addresses, const TcpDeadline& deadline)
      : addresses_(Interleave(addresses)), deadline_(deadline) {}

  /// The result as of the calls in tcperror.h. `winner` is the first connection that came about;
  /// the others are closed with the race.
  int Run(LProcessInterface& process, Attempt& winner) {
    while (!winner_.socket) {
      if (IsNextDue()) {
        StartNext();
      } else if (attempts_.empty()) {
        return TcpFailed(error_);
      } else {
        const int waited = Wait(process);
        if (waited != 0) return waited;
        LookAtAttempts();
      }
    }
    winner = std::move(winner_);
    return TcpDone();
  }

 private:
  [[nodiscard]] bool IsNextDue() const {
    return next_ < addresses_.size() &&
           (attempts_.empty() || TcpDeadline::Clock::now() >= nextStart_);
  }

  void StartNext() {
    const TcpAddress& address = addresses_[next_++];
    nextStart_ = TcpDeadline::Clock::now() + kAttemptDelay;
    UniqueFd socket = TcpMakeSocket(address.Family());
    if (!socket) return Note(errno);
    const int result = connect(socket.Get(), address.Get(), address.Size());
    if (result == 0) return Finish({std::move(socket), address});
    // An attempt that a signal handler interrupts goes on.
    if (errno != EINPROGRESS && errno != EINTR) return Note(errno);
    if (!watch_) watch_ = TcpMakeWritableWatch();
    if (!watch_ || !TcpWatch(watch_, socket.Get())) return Note(errno);
    attempts_.push_back({std::move(socket), address});
  }

  /// For the end of an attempt, or the time of the next one.
  int Wait(LProcessInterface& process) {
    if (next_ == addresses_.size()) return TcpWait(process, watch_.Get(), deadline_);
    const int waited = TcpWait(process, watch_.Get(), TcpDeadline(deadline_, nextStart_));
    const bool isNextDue = waited == 2 && LTcpLastError() == EAGAIN && !deadline_.IsOver();
    return isNextDue ? 0 : waited;
  }

  void LookAtAttempts() {
    for (auto attempt = attempts_.begin(); attempt != attempts_.end() && !winner_.socket;) {
      if (!TcpIsWritable(attempt->socket.Get())) {
        ++attempt;
        continue;
      }
      Finish(std::move(*attempt));
      attempt = attempts_.erase(attempt);
    }
  }

  void Finish(Attempt attempt) {
    const int socket = attempt.socket.Get();
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
    if (error == 0 && IsConnectedToItself(socket)) {
      ResetAtClose(socket);
      error = ECONNREFUSED;
    }
    if (error != 0) return Note(error);
    winner_ = std::move(attempt);
  }

  /// A failure; the next address is tried at once.
  void Note(int error) {
    nextStart_ = TcpDeadline::Clock::now();
    if (error_ == 0 || (IsUnreachable(error_) && !IsUnreachable(error))) error_ = error;
  }

  std::vector<TcpAddress> addresses_;
  TcpDeadline deadline_;
  std::size_t next_ = 0;
  TcpDeadline::Clock::time_point nextStart_;
  UniqueFd watch_;
  std::vector<Attempt> attempts_;
  Attempt winner_;
  int error_ = 0;
};

}  // namespace

int LTcpSocket::Connect(LProcessInterface& process, const char* host, unsigned short port,
                        unsigned int timeout) {
  Close();
  if (host == nullptr) host = "";
  const TcpDeadline deadline(timeout);
  if (process.IsToStop()) return TcpStopped();
  std::vector<TcpAddress> addresses;
  const int resolved = TcpResolve(process, host, port, deadline, addresses);
  if (resolved == 2) return TcpReport(process, "find", host, port, timeout);
  if (resolved != 0) return resolved;
  process.SetStatusF(0, "Connecting to %s, port %u", host, unsigned{port});
  Attempt winner;
  const int result = Race(addresses, deadline).Run(process, winner);
  if (result == 2) return TcpReport(process, "connect to", host, port, timeout);
  if (result != 0) return result;
  Adopt(winner.socket.Get(), host, winner.address);
  winner.socket.Release();
  return TcpDone();
}
