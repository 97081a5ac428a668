// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_NAMEDEVENT_H
#define ZORVEX_FOUNDATION_THREADS_NAMEDEVENT_H

#include <sys/un.h>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/signalobject.h>

/// \file
/// Events between processes of one user: one process waits for an event by its name, others set it.
///
///     LSignalObjectNamedWaiter quit("host.quit");     // in one process
///     if (quit.WaitSignal(1000) && quit.AcceptedDescriptor() != -1) ...
///
///     LSignalObjectNamedSignaller("host.quit").Signal();  // in another one
///
/// A name is a file name in LFile::GetUserDataFolder, where the waiting side makes a socket of it
/// and removes what stands in its place; the signalling side connects to it. So a name is for one
/// event and for no file, and is not taken from strangers: "/" and ".." in it lead elsewhere.
///
/// The path must fit into a socket address: 107 bytes on Linux, folder and name together. It is not
/// cut, lest two names meet: an event whose path is longer is never set, and nobody ever waits for
/// it. Such an event is told from others by an empty Path(). Nothing else is reported, either.
///
/// Who may write to the socket can set the event: the user, and others as far as the folder's and
/// the socket's permissions (the umask) let them.
///
/// One thread at a time uses an object, but several may be in Signal.

/// The side that sets an event.
class ZORVEX_API LSignalObjectNamedSignaller {
 public:
  /// Makes the address, and creates the data folder when it is missing; no socket yet.
  explicit LSignalObjectNamedSignaller(const char* name);

  /// Sets the event for the process that waits for it; never blocks, and raises no SIGPIPE. Nothing
  /// happens when there is none. When one is there that has not taken the last six or so signals,
  /// it has the event set without this one.
  ///
  /// Each call that finds nobody, or nobody ready, leaves a descriptor open for good. Deliberate.
  void Signal();

  /// The socket's, empty when it is too long.
  [[nodiscard]] const char* Path() const { return address_.sun_path; }

 private:
  sockaddr_un address_;
};

/// Sets an event as LSignalObjectNamedSignaller does; for a class that owns an event as well, and
/// puts the descriptor at which it is waited for into descriptor_.
class ZORVEX_API LSignalObjectNamed {
 public:
  /// Makes the address, and creates the data folder when it is missing; no socket.
  explicit LSignalObjectNamed(const char* name);
  /// Closes the descriptor and removes the socket's file. Without a descriptor, nothing.
  ~LSignalObjectNamed();
  LSignalObjectNamed(const LSignalObjectNamed&) = delete;
  LSignalObjectNamed& operator=(const LSignalObjectNamed&) = delete;

  /// As LSignalObjectNamedSignaller::Signal.
  void Signal();
  /// Reads what there is to be read from the descriptor, which should not block.
  void Reset();

  /// The socket's, empty when it is too long.
  [[nodiscard]] const char* Path() const { return address_.sun_path; }

 protected:
  sockaddr_un address_;
  int descriptor_ = -1;  ///< Nothing in this class sets it.
};

/// The side that waits. The newest waiter of a name, in any process, gets the signals; those before
/// it get no more.
///
/// Programs that the process executes inherit its sockets, deliberately: while one of them runs,
/// signals find a socket, though nobody may wait at it any more.
class ZORVEX_API LSignalObjectNamedWaiter {
 public:
  /// Removes the file of that path, as an earlier process may have left one, and listens in its
  /// place. Signals count from now on. The data folder is created when it is missing.
  explicit LSignalObjectNamedWaiter(const char* name);
  /// Deliberately never closes the listening socket, which lives as long as the process, so that
  /// signals go on to find it. When the last wait ended with a signal, closes that connection and
  /// removes the socket's file, be it this waiter's or that of a newer one of the same name.
  ~LSignalObjectNamedWaiter();
  LSignalObjectNamedWaiter(const LSignalObjectNamedWaiter&) = delete;
  LSignalObjectNamedWaiter& operator=(const LSignalObjectNamedWaiter&) = delete;

  /// Waits for one signal and takes it. True when it came, and deliberately also when the time is
  /// over; AcceptedDescriptor tells which. False when a signal handler ran on the waiting thread,
  /// and, when the time is over, without a socket to wait at (ListeningDescriptor is -1).
  ///
  /// Each signal takes a descriptor, and the one of the signal before it is deliberately left open.
  ///
  /// \param timeout  milliseconds; 4294967295 (LSignalWaitForever) is no limit
  bool WaitSignal(unsigned int timeout);
  /// Reads what there is to be read from the last signal's connection, if any; does not wait for
  /// the signaller, and takes no further signal.
  void Reset();

  /// The connection of the signal with which the last wait ended; -1 when it did not end with one.
  [[nodiscard]] int AcceptedDescriptor() const { return accepted_; }
  /// For a `poll` of one's own: readable while a signal waits to be taken. -1 when the socket could
  /// not be made. Not to be closed.
  [[nodiscard]] int ListeningDescriptor() const { return listening_; }
  /// The socket's, empty when it is too long.
  [[nodiscard]] const char* Path() const { return address_.sun_path; }

 private:
  sockaddr_un address_;
  int listening_;
  int accepted_ = -1;
};

#endif  // ZORVEX_FOUNDATION_THREADS_NAMEDEVENT_H
