// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_SIGNALOBJECT_H
#define ZORVEX_FOUNDATION_THREADS_SIGNALOBJECT_H

#include <poll.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include <zorvex/foundation/export.h>

/// The timeout that means no limit. (So does every other above INT_MAX, by way of `poll`.)
inline constexpr unsigned int LSignalWaitForever = 4294967295U;

/// A view of an event that somebody else owns; copied and passed by value.
///
/// An event is a pipe. It is set while an unread byte lies in the pipe, and stays set for every
/// waiter until somebody calls Reset: waiting consumes nothing. As it is a descriptor, one `poll`
/// can wait for any mix of events and other descriptors.
///
/// Any thread may call anything here at any time, as long as the owner lives. A Reset that runs at
/// the same moment as a Signal may swallow it, so reset before starting what will signal.
///
/// Every wait is one single `poll`. Timeouts are in milliseconds. The answer is false when the time
/// is over, and also, early, when a signal handler ran on the waiting thread; callers that must not
/// give up then ask again. An event without a pipe (both descriptors -1) is never set: a wait that
/// has no other event to wait for answers false at once, whatever its timeout.
class ZORVEX_API LSignalObjectRef {
 public:
  LSignalObjectRef() = default;
  LSignalObjectRef(int readDescriptor, int writeDescriptor)
      : readDescriptor_(readDescriptor), writeDescriptor_(writeDescriptor) {}

  /// Sets the event. Never blocks; setting it again before a Reset changes nothing for waiters.
  void Signal();
  /// Clears the event, however often it was set.
  void Reset();

  /// Whether it is set; does not wait.
  [[nodiscard]] bool IsSignaled() const;
  /// True when the event is set, or became so in time.
  bool WaitSignal(unsigned int timeout) const;
  /// True when this event or the other is set; does not tell which.
  bool WaitSignalDual(LSignalObjectRef other, unsigned int timeout) const;
  /// The same with a third event.
  bool WaitSignalTriple(LSignalObjectRef second, LSignalObjectRef third,
                        unsigned int timeout) const;

  /// For a `poll` of one's own: readable while the event is set. Not to be read from or closed.
  [[nodiscard]] int ReadDescriptor() const { return readDescriptor_; }
  [[nodiscard]] int WriteDescriptor() const { return writeDescriptor_; }

 protected:
  int readDescriptor_ = -1;
  int writeDescriptor_ = -1;
};

/// An event and its pipe, made unset; converts to a view of itself. The pipe does not survive into
/// programs that the process executes. A forked child shares it and can set the parent's event.
///
/// When the process has no descriptors left there is no pipe: both descriptors stay -1, Signal and
/// Reset do nothing and the event is never set. The owner must outlive all views and waits.
class ZORVEX_API LSignalObject : public LSignalObjectRef {
 public:
  LSignalObject();
  ~LSignalObject();
  LSignalObject(const LSignalObject&) = delete;
  LSignalObject& operator=(const LSignalObject&) = delete;
};

/// Up to 256 events to wait for at once; 256 is a hard limit. Views of events as LSignalObjectRef
/// describes, and the same rules for waits. One thread at a time uses a group, also for waiting: a
/// wait stores what it found in the entries.
class ZORVEX_API LSignalObjectGroup {
 public:
  static constexpr std::size_t Capacity = 256;

  LSignalObjectGroup() {}

  /// Appends an event; ignored, without a report, when the group is full.
  void Add(LSignalObjectRef signal);
  /// Appends the other group's events in their order, as many as fit. A group may be added to
  /// itself.
  void Add(LSignalObjectGroup& other);

  /// True when at least one event is set, or became so in time. False at once for an empty group.
  bool Select(unsigned int timeout) const;
  /// Whether one of them is set; does not wait.
  [[nodiscard]] bool IsSignaled() const;

  [[nodiscard]] std::size_t Count() const { return count_; }
  /// The `poll` result bits of an entry (index below Count()). Meaningful only after a wait that
  /// included the entry and answered true; POLLIN says that its event was set.
  [[nodiscard]] short ReturnedEvents(std::size_t index) const { return entries_[index].revents; }

 private:
  // Not cleared on construction: only the first count_ entries are ever looked at, and groups are
  // made on the stack for single waits.
  mutable std::array<pollfd, Capacity> entries_;
  std::uint64_t count_ = 0;
};

#endif  // ZORVEX_FOUNDATION_THREADS_SIGNALOBJECT_H
