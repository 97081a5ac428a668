// SPDX-License-Identifier: MIT
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "foundation/system/tcp.h"
#include "foundation/system/tcpdescriptor.h"
#include "foundation/system/tcperror.h"
#include "foundation/system/tcpreceivebuffer.h"
#include "foundation/system/tcpwait.h"

namespace {

/// What is moved between two looks for a stop request, and what is too little to report.
constexpr std::size_t kPiece = 262144;

bool IsToWait(int error) {
  return error == EAGAIN || error == EWOULDBLOCK;
}

/// Not so what passes or is the caller's fault; nor EPIPE, which comes again by itself, and also to
/// who shut his own sending down.
bool IsLossOfConnection(int error) {
  return error != EPIPE && error != ENOBUFS && error != ENOMEM && error != EFAULT;
}

/// Moves all of `count` bytes with `moveOnce(offset, count, moved)`, which gives a result. Ends
/// early when that moves nothing.
template <typename MoveOnce>
int MoveAll(LProcessInterface& process, std::size_t count, std::size_t& done,
            const TcpDeadline& deadline, MoveOnce moveOnce) {
  while (done < count) {
    std::size_t moved = 0;
    const int result = moveOnce(done, std::min(count - done, kPiece), moved);
    done += moved;
    if (result != 0) return result;
    if (moved == 0) return TcpFailed(0);
    if (done < count && deadline.IsLate()) return TcpFailed(EAGAIN);
    if (count > kPiece) process.SetProgress(static_cast<double>(done) / static_cast<double>(count));
  }
  return TcpDone();
}

}  // namespace

int LTcpSocket::Result(LProcessInterface& process, int result, const char* what,
                       unsigned int timeout, bool hasBegun) const {
  if (result != 2) return result;
  const bool isEndInOrder = LTcpLastError() == 0 && !hasBegun;
  if (isEndInOrder) return 2;
  return TcpReport(process, what, host_.Text(), peerPort_, timeout);
}

int LTcpSocket::Send(LProcessInterface& process, const void* bytes, std::size_t count,
                     unsigned int timeout, std::size_t* sent) {
  const TcpDeadline deadline(timeout);
  std::size_t done = 0;
  bool isFull = false;
  const auto sendOnce = [&](std::size_t offset, std::size_t size, std::size_t& moved) {
    const auto* const from = static_cast<const char*>(bytes) + offset;
    const int result = SendOnce(process, from, size, moved, isFull, deadline);
    isFull = moved < size;
    return result;
  };
  const int result = MoveAll(process, count, done, deadline, sendOnce);
  if (sent != nullptr) *sent = done;
  return Result(process, result, "send to", timeout, true);
}

// A call that took less than it was given has filled the buffer: the next one waits at once.
int LTcpSocket::SendOnce(LProcessInterface& process, const void* bytes, std::size_t count,
                         std::size_t& sent, bool isFull, const TcpDeadline& deadline) {
  if (descriptor_ < 0) return TcpFailed(ENOTCONN);
  if (!isFull && process.IsToStop()) return TcpStopped();
  for (;;) {
    if (isFull) {
      const int waited = WaitForRoom(process, deadline);
      if (waited != 0) return waited;
    }
    const ssize_t moved = send(descriptor_, bytes, count, MSG_NOSIGNAL);
    if (moved >= 0) {
      sent = static_cast<std::size_t>(moved);
      return 0;
    }
    const int error = errno;
    isFull = IsToWait(error);
    if (isFull || error == EINTR) continue;
    if (IsLossOfConnection(error)) broken_ = error;
    return TcpFailed(error);
  }
}

int LTcpSocket::WaitForRoom(LProcessInterface& process, const TcpDeadline& deadline) {
  if (writable_ < 0) {
    UniqueFd watch = TcpMakeWritableWatch();
    if (!watch || !TcpWatch(watch, descriptor_)) return TcpFailed(errno);
    writable_ = watch.Release();
  }
  return TcpWait(process, writable_, deadline);
}

int LTcpSocket::Receive(LProcessInterface& process, void* dest, std::size_t size,
                        std::size_t& received, unsigned int timeout) {
  received = 0;
  // The system would give 0 bytes, which means something else.
  const int result = size == 0 ? TcpFailed(EINVAL)
                               : ReceiveOnce(process, dest, size, received, TcpDeadline(timeout));
  return Result(process, result == 0 ? TcpDone() : result, "receive from", timeout, true);
}

int LTcpSocket::ReceiveExactly(LProcessInterface& process, void* dest, std::size_t count,
                               unsigned int timeout, std::size_t* received) {
  const TcpDeadline deadline(timeout);
  std::size_t done = 0;
  const int result = MoveAll(process, count, done, deadline,
                             [&](std::size_t offset, std::size_t size, std::size_t& moved) {
                               return ReceiveOnce(process, static_cast<char*>(dest) + offset, size,
                                                  moved, deadline);
                             });
  if (received != nullptr) *received = done;
  return Result(process, result, "receive from", timeout, done > 0);
}

int LTcpSocket::ReceiveOnce(LProcessInterface& process, void* dest, std::size_t size,
                            std::size_t& received, const TcpDeadline& deadline) {
  if (Buffered() == 0) return ReceiveFromSystem(process, dest, size, received, deadline);
  isAtEnd_ = false;
  if (process.IsToStop()) return TcpStopped();
  received = buffer_->Take(dest, size);
  return 0;
}

// Waits before it asks for anything, so that a call that has to wait, as most calls for an answer
// have to, needs no question in vain; the wait also tells of a stop request. After a call that got
// all that it wanted there is likely to be more, and no need to wait.
int LTcpSocket::ReceiveFromSystem(LProcessInterface& process, void* dest, std::size_t size,
                                  std::size_t& received, const TcpDeadline& deadline) {
  isAtEnd_ = false;
  if (descriptor_ < 0) return TcpFailed(ENOTCONN);
  bool isToWait = !isMoreLikely_;
  if (!isToWait && process.IsToStop()) return TcpStopped();
  for (;;) {
    if (isToWait) {
      const int waited = TcpWait(process, descriptor_, deadline);
      if (waited != 0) return waited;
    }
    const ssize_t moved = recv(descriptor_, dest, size, 0);
    if (moved > 0) {
      received = static_cast<std::size_t>(moved);
      isMoreLikely_ = received == size;
      return 0;
    }
    const int error = moved == 0 ? broken_.load() : errno;
    isAtEnd_ = error == 0;
    if (isAtEnd_) return 0;
    isToWait = IsToWait(error);
    if (isToWait || error == EINTR) continue;
    if (IsLossOfConnection(error)) broken_ = error;
    return TcpFailed(error);
  }
}
