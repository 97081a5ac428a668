// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_QUEUEDNOTIFY_H
#define ZORVEX_FOUNDATION_THREADS_QUEUEDNOTIFY_H

#include <cstdint>
#include <memory>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/runonmainthread.h>

/// A call of the main thread without anything else. What PostQueueNotify posts is discarded within
/// this library (see LThreadRunOnMainThread); a host that wants the call puts an
/// LThreadQueuedNotifyData into an event to Dispatcher() itself.
///
/// Destroyed after ThreadQueuedNotifyDestroy, on the main thread. The order of the virtual
/// functions is part of the interface.
class ZORVEX_API LThreadQueuedNotify {
 public:
  LThreadQueuedNotify() = default;
  virtual ~LThreadQueuedNotify();
  LThreadQueuedNotify(const LThreadQueuedNotify&) = delete;
  LThreadQueuedNotify& operator=(const LThreadQueuedNotify&) = delete;

  /// The call, on the main thread. May destroy this object.
  virtual void EvQueuedNotify() = 0;

  /// From any thread. May throw std::bad_alloc.
  void PostQueueNotify();
  /// No call comes any more: those that wait are thrown away. On the main thread.
  void ThreadQueuedNotifyDestroy();

  /// Where the calls go; lives as long as this object.
  [[nodiscard]] LThreadRunOnMainThread& Dispatcher() { return dispatcher_; }

 private:
  LThreadRunOnMainThread dispatcher_;
};

/// The item of one call.
class ZORVEX_API LThreadQueuedNotifyData : public LThreadRunOnMainThreadData {
 public:
  /// The owner must outlive the item's run.
  explicit LThreadQueuedNotifyData(LThreadQueuedNotify& owner) : owner_(owner) {}
  ~LThreadQueuedNotifyData() override;
  void MainThreadFunction() override;

 private:
  LThreadQueuedNotify& owner_;
};

/// Messages to the main thread: a number, and bytes that are copied. What PostNotifyFromSender
/// posts is discarded within this library (see LThreadRunOnMainThread); a host that wants the
/// message puts an LQueuedNotifyDataHandlerData into an event to Dispatcher() itself.
///
/// Destroyed after QueuedNotifyDataHandlerDestroy, on the main thread. The order of the virtual
/// functions is part of the interface.
class ZORVEX_API LQueuedNotifyDataHandler {
 public:
  LQueuedNotifyDataHandler() = default;
  virtual ~LQueuedNotifyDataHandler();
  LQueuedNotifyDataHandler(const LQueuedNotifyDataHandler&) = delete;
  LQueuedNotifyDataHandler& operator=(const LQueuedNotifyDataHandler&) = delete;

  /// Takes a message, on the main thread. May destroy this object.
  ///
  /// \param data  a copy of what was posted, borrowed for the call; null when nothing was
  /// \param size  in bytes. Without data it is whatever the sender chose to say with it.
  virtual void EvQueuedNotifyData(unsigned int message, const void* data, unsigned long size) = 0;

  /// From any thread. Data, which may be null, is copied before this returns. May throw
  /// std::bad_alloc; nothing is then posted.
  void PostNotifyFromSender(unsigned int message, const void* data, unsigned long size);
  /// No message comes any more: those that wait are thrown away. On the main thread.
  void QueuedNotifyDataHandlerDestroy();

  /// Where the messages go; lives as long as this object.
  [[nodiscard]] LThreadRunOnMainThread& Dispatcher() { return dispatcher_; }

 private:
  LThreadRunOnMainThread dispatcher_;
};

/// The item of one message.
class ZORVEX_API LQueuedNotifyDataHandlerData : public LThreadRunOnMainThreadData {
 public:
  /// Copies `size` bytes, unless data is null; the size is kept in any case. The handler must
  /// outlive the item's run. May throw std::bad_alloc.
  LQueuedNotifyDataHandlerData(LQueuedNotifyDataHandler& handler, unsigned int message,
                               const void* data, unsigned long size);
  ~LQueuedNotifyDataHandlerData() override;
  void MainThreadFunction() override;

 private:
  LQueuedNotifyDataHandler& handler_;
  std::uint32_t message_;
  std::unique_ptr<unsigned char[]> copy_;
  std::uint64_t size_;
};

#endif  // ZORVEX_FOUNDATION_THREADS_QUEUEDNOTIFY_H
