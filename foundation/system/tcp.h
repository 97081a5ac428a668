// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_TCP_H
#define ZORVEX_FOUNDATION_SYSTEM_TCP_H

#include <atomic>
#include <cstddef>
#include <memory>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/store/sizedarray.h>
#include <zorvex/foundation/text/stringlong.h>
#include <zorvex/foundation/threads/processinterface.h>
#include <zorvex/foundation/threads/signalobject.h>

class TcpAddress;
class TcpDeadline;

/// \file
/// TCP over IPv4 and IPv6, for threads that wait:
///
///     LTcpSocket socket;
///     if (socket.Connect(process, "example.com", 80, 10000) != 0) return false;
///     if (socket.Send(process, request, length, 10000) != 0) return false;
///     std::size_t received = 0;
///     while (socket.Receive(process, block, sizeof block, received, 10000) == 0 && received != 0)
///       Use(block, received);
///
/// What may take time is driven through an LProcessInterface, and gives 0 when it is done, 1 when
/// it was stopped, 2 when its time was over or it failed. A stop request ends every wait at once,
/// also the one for a name server, and each call asks for it before it moves anything.
///
/// A timeout, in milliseconds, is for the whole call, not for each wait in it, by a clock that
/// nobody sets. 4294967295 is no limit; 0 only looks what can be done without waiting.
///
/// Results of 2 are told to SetError, with host and port, except three that are no mishaps: that
/// nothing was there for a call that only looked, that no connection came to a listener, and that
/// the other side ended the stream before it had sent anything of what was waited for.
/// LTcpLastError tells programs what failed.
///
/// Who sends to a connection that is gone gets a result of 2 and never SIGPIPE. No descriptor made
/// here survives into programs that the process executes. Where memory runs out, std::bad_alloc
/// leaves Connect, Attach, Listen, Accept, ReceiveUntil and ReceiveLine; the object can then still
/// be used or closed.

/// Why the calling thread's last call of this file's with a result of 0, 1 or 2 gave that: 0 when
/// it was done, also when the stream was at its end; ECANCELED when it was stopped; EAGAIN when its
/// time was over, after which the connection is as good as before; else the system's error number
/// (`errno`), or 0 when the failure has a number in LTcpLastResolverError. ETIMEDOUT is the
/// system's: it has given the other side up.
ZORVEX_API int LTcpLastError();

/// The number with which getaddrinfo(3) said why a host has no address (EAI_NONAME for a name that
/// does not exist), 0 when the calling thread's last call did not fail of that.
ZORVEX_API int LTcpLastResolverError();

/// One end of a connection, or none. Owns a descriptor, and a second one from the first time on
/// that Send had to wait. Movable.
///
/// One thread may send while another one receives; apart from that one thread at a time uses a
/// socket. Close is not the way to end another thread's wait: stop that thread.
///
/// Small messages are sent at once (TCP_NODELAY is on), so give Send a message as a whole.
class ZORVEX_API LTcpSocket {
 public:
  /// No connection.
  LTcpSocket();
  /// The other socket has no connection afterwards. No thread may be using either.
  LTcpSocket(LTcpSocket&& other) noexcept;
  /// Closes this socket's connection first.
  LTcpSocket& operator=(LTcpSocket&& other) noexcept;
  /// Close.
  ~LTcpSocket();

  /// Closes a connection that there is, and makes one. `host` is a name, an IPv4 address or an IPv6
  /// address, with or without brackets and with a zone where it needs one ("fe80::1%eth0"). Names
  /// are handed to the system's resolver as they are; a lookup that is given up goes on by itself
  /// on a thread of its own, until the resolver gives up too.
  ///
  /// A host with several addresses is tried by RFC 8305: IPv6 and IPv4 in turns, beginning with
  /// what the resolver put first, the next one at once after a failure and else 250 ms after the
  /// last. The first that answers is taken. When all fail, LTcpLastError tells of the first of them
  /// that could be reached.
  ///
  /// Shows on status line 0 what it is doing.
  int Connect(LProcessInterface& process, const char* host, unsigned short port,
              unsigned int timeout);

  /// Closes a connection that there is, and takes over a connected stream socket, which it makes
  /// non-blocking. False when it is none; it then stays the caller's, and nothing is closed.
  bool Attach(int descriptor);
  /// Gives the descriptor, non-blocking, to the caller, or -1. What Buffered counts is lost.
  int Detach();
  /// Ends the connection. What was sent is still delivered by the system, unless there is something
  /// from the other side that was not received: then the connection is reset, and the other side
  /// may lose what it has not read yet. Who has to rule that out calls ShutdownSending and receives
  /// to the end first. Nothing when there is no connection.
  void Close();

  /// Whether there is a connection, be it broken by now.
  [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }
  /// For options and a `poll` of one's own; stays this object's. -1 when there is no connection.
  [[nodiscard]] int Descriptor() const { return descriptor_; }

  /// Sends all of `count` bytes. For 0 bytes nothing is asked or done. `sent`, unless null, tells
  /// how many the system has taken over, also after a result of 1 or 2. Reports progress, the part
  /// from 0 to 1, when there are more than 262144 bytes.
  int Send(LProcessInterface& process, const void* bytes, std::size_t count, unsigned int timeout,
           std::size_t* sent = nullptr);
  /// Tells the other side that nothing more comes; receiving goes on. False when that fails.
  bool ShutdownSending();

  /// Receives as soon as there is something, at least one byte and at most `size`, which is not 0
  /// (EINVAL). 0 with no bytes is the end of the stream: the other side closed it in order. A
  /// connection that was reset gives 2, now and whenever it is asked again.
  int Receive(LProcessInterface& process, void* dest, std::size_t size, std::size_t& received,
              unsigned int timeout);
  /// Receives just `count` bytes, and reports progress as Send does. When the stream ends before,
  /// 2, and IsAtEnd tells why. `received`, unless null, tells how many are in `dest`, also after a
  /// result of 1 or 2, so that a later call can receive the rest.
  int ReceiveExactly(LProcessInterface& process, void* dest, std::size_t count,
                     unsigned int timeout, std::size_t* received = nullptr);
  /// Receives up to the next `delimiter`, a text that is not empty, and appends that much, with the
  /// delimiter, to `text`. At most `limit` bytes with the delimiter: when there are more, 2 with
  /// EMSGSIZE. When the stream ends before, 2, IsAtEnd tells why, and `text` gets what there was.
  /// After every other result but 0 `text` is as it was and nothing is lost: the next call, of
  /// whatever kind, begins at the same place.
  int ReceiveUntil(LProcessInterface& process, LStringLongTemplate<char>& text,
                   const char* delimiter, std::size_t limit, unsigned int timeout);
  /// As ReceiveUntil a line feed, which is left away from the line, with a carriage return before
  /// it. Replaces `line`. The limit counts the line's break, too.
  int ReceiveLine(LProcessInterface& process, LStringLongTemplate<char>& line, std::size_t limit,
                  unsigned int timeout);
  /// The same into `size` bytes, which is at least 2 and the limit, and terminated always. Bytes of
  /// 0 are taken over: the line then looks shorter than it is.
  int ReceiveLine(LProcessInterface& process, char* line, std::size_t size, unsigned int timeout);

  /// Whether the last call that received came upon the end of the stream.
  [[nodiscard]] bool IsAtEnd() const { return isAtEnd_; }
  /// How many bytes were taken from the system beyond what was asked for, by ReceiveUntil and
  /// ReceiveLine. They come first in whatever is received next; a `poll` does not see them.
  [[nodiscard]] std::size_t Buffered() const;
  /// Adds "there is something to receive", which the end and a failure are as well, to the group;
  /// for threads that wait for other things besides. Mind Buffered.
  void AddTo(LSignalObjectGroup& group) const;

  /// The numeric address of the other end ("192.0.2.1", "::1", "fe80::1%eth0") and its port, also
  /// of a connection that is broken. The text needs 260 bytes. Empty and 0 when there is none.
  void PeerAddress(char* address, unsigned short& port) const;
  void PeerAddress(LStringLongTemplate<char>& address, unsigned short& port) const;
  /// The same of this end.
  void OwnAddress(char* address, unsigned short& port) const;
  void OwnAddress(LStringLongTemplate<char>& address, unsigned short& port) const;

  /// Whether small messages go out at once (which they do from the beginning), or are gathered
  /// while earlier ones are on their way. False when the system refuses.
  bool SetNoDelay(bool on);
  /// Lets the system ask, after so many milliseconds without traffic (rounded up to seconds),
  /// whether the other side is still there, then each tenth of that time, and break the connection
  /// (ETIMEDOUT) when ten questions in a row got no answer. 0 turns it off, as it is in the
  /// beginning. False when the system refuses.
  bool SetKeepAlive(unsigned int idle);

 private:
  friend class LTcpListener;
  class ZORVEX_HIDDEN ReceiveBuffer;

  ZORVEX_HIDDEN void Adopt(int descriptor, const char* host, const TcpAddress& peer);
  ZORVEX_HIDDEN int Result(LProcessInterface& process, int result, const char* what,
                           unsigned int timeout, bool hasBegun) const;
  ZORVEX_HIDDEN int SendOnce(LProcessInterface& process, const void* bytes, std::size_t count,
                             std::size_t& sent, bool isFull, const TcpDeadline& deadline);
  ZORVEX_HIDDEN int WaitForRoom(LProcessInterface& process, const TcpDeadline& deadline);
  ZORVEX_HIDDEN int ReceiveFromSystem(LProcessInterface& process, void* dest, std::size_t size,
                                      std::size_t& received, const TcpDeadline& deadline);
  ZORVEX_HIDDEN int ReceiveOnce(LProcessInterface& process, void* dest, std::size_t size,
                                std::size_t& received, const TcpDeadline& deadline);
  ZORVEX_HIDDEN int BufferUntil(LProcessInterface& process, const char* delimiter,
                                std::size_t limit, std::size_t& length,
                                const TcpDeadline& deadline);
  template <typename Store>
  ZORVEX_HIDDEN int TakeUntil(LProcessInterface& process, const char* delimiter, std::size_t limit,
                              unsigned int timeout, Store store);

  int descriptor_ = -1;
  // Readable while the descriptor can be written to; -1 until Send first waits.
  int writable_ = -1;
  unsigned short peerPort_ = 0;
  bool isAtEnd_ = false;
  bool isMoreLikely_ = false;
  // What broke the connection. The system tells it once, to whoever comes first, and from then on
  // pretends that the stream ended in order.
  std::atomic<int> broken_{0};
  // What Connect was given, for messages, and the numeric address.
  LStringLongTemplate<char> host_;
  LStringLongTemplate<char> peer_;
  std::unique_ptr<ReceiveBuffer> buffer_;
};

/// Waits for connections, at one port of one or all of the machine's addresses. Movable; one thread
/// at a time uses it.
class ZORVEX_API LTcpListener {
 public:
  /// Listens nowhere.
  LTcpListener() = default;
  /// The other listener listens nowhere afterwards.
  LTcpListener(LTcpListener&& other) noexcept;
  /// Closes this listener first.
  LTcpListener& operator=(LTcpListener&& other) noexcept;
  /// Close.
  ~LTcpListener();

  /// Closes first if need be, and begins to listen at all addresses that `host` has (see
  /// LTcpSocket::Connect), for null and the empty text at all of the machine, and at the same port
  /// of each. What the machine does not have, IPv6 for example, is left out, unless nothing is left
  /// then. Port 0 takes a free one. A port that another program listens at is in use (EADDRINUSE),
  /// one whose old connections still fade away is not. `backlog` is how many connections wait to be
  /// accepted before others are turned away; the system lowers what it finds too much. The timeout
  /// is for looking a name up.
  int Listen(LProcessInterface& process, const char* host, unsigned short port,
             unsigned int timeout, int backlog = 4096);
  /// Waits for a connection and hands it over, in place of one that `connection` had. Connections
  /// that are gone again before are passed over. While the process or the system is out of
  /// descriptors or memory, tries again from time to time, at least ten times a second, until the
  /// time is over; LTcpLastError then tells of that instead of EAGAIN.
  int Accept(LProcessInterface& process, LTcpSocket& connection, unsigned int timeout);
  /// Stops listening; connections that nobody accepted are reset. Nothing when it does not listen.
  void Close();

  /// Whether it listens.
  [[nodiscard]] bool IsOpen() const { return !descriptors_.IsEmpty(); }
  /// The port at which it listens, 0 when it does not.
  [[nodiscard]] unsigned short Port() const { return port_; }
  /// Adds "there is a connection to accept" to the group.
  void AddTo(LSignalObjectGroup& group) const;

 private:
  ZORVEX_HIDDEN int TryAccept(LTcpSocket& connection);
  ZORVEX_HIDDEN int Fail(LProcessInterface& process, int error) const;

  LSizedArray<int> descriptors_;
  unsigned short port_ = 0;
  // The one to be asked first the next time, so that none starves.
  std::size_t first_ = 0;
};

#endif  // ZORVEX_FOUNDATION_SYSTEM_TCP_H
