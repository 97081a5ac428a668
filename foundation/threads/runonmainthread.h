// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_RUNONMAINTHREAD_H
#define ZORVEX_FOUNDATION_THREADS_RUNONMAINTHREAD_H

#include <cstdint>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/lockobject.h>
#include <zorvex/platform/eventqueue.h>
#include <zorvex/platform/fourcharcode.h>

/// Work for the main thread. Made with new; whoever consumes an item destroys it, run or not.
///
/// The order of the virtual functions is part of the interface.
class ZORVEX_API LThreadRunOnMainThreadData {
 public:
  LThreadRunOnMainThreadData() = default;
  LThreadRunOnMainThreadData(const LThreadRunOnMainThreadData&) = delete;
  LThreadRunOnMainThreadData& operator=(const LThreadRunOnMainThreadData&) = delete;
  /// May run on any thread, and with the dispatcher locked: it may use the dispatcher, but neither
  /// destroy it nor wait for who uses it.
  virtual ~LThreadRunOnMainThreadData();

  /// The work, on the main thread. It may do with the dispatcher what it likes, also destroy it.
  /// It must let no exception out.
  virtual void MainThreadFunction() = 0;
};

/// Runs work items on the main thread, which come to it in events of the application
/// (platform/eventqueue.h). Each object is a group of items that can be thrown away together.
///
/// This library itself sends none: RunOnMainThread, as it is here, destroys what it is given. A
/// host that wants its items run calls Init and posts the events:
///
///     LThreadRunOnMainThreadData* item = new HostWork;
///     LThreadRunOnMainThread* dispatcher = &hostDispatcher;
///     EventRef event = CreateEvent(LThreadRunOnMainThread::kEventClass,
///                                  LThreadRunOnMainThread::kEventKind);
///     SetEventParameter(event, LThreadRunOnMainThread::kItemParameter, typeVoidPtr, sizeof item,
///                       &item);
///     SetEventParameter(event, LThreadRunOnMainThread::kDispatcherParameter, typeVoidPtr,
///                       sizeof dispatcher, &dispatcher);
///     PostEventToQueue(GetMainEventQueue(), event);
///     ReleaseEvent(event);
///
/// Both pointers are of the types above, not of derived ones. The event owns its item: it is posted
/// once and not sent again. The dispatcher must live until its last event is handled or flushed:
/// who destroys one calls ThreadRunOnMainThreadDestroy first, and lets nobody post to it after
/// that.
///
/// RunOnMainThread may be called from any thread; everything else is for the main thread.
class ZORVEX_API LThreadRunOnMainThread {
 public:
  static constexpr std::uint32_t kEventClass = FourCharCode("LNot");
  static constexpr std::uint32_t kEventKind = FourCharCode("LNdk");
  /// Its type is typeVoidPtr, its value an LThreadRunOnMainThreadData*.
  static constexpr std::uint32_t kItemParameter = FourCharCode("LNda");
  /// Its type is typeVoidPtr, its value an LThreadRunOnMainThread*.
  static constexpr std::uint32_t kDispatcherParameter = FourCharCode("LNth");

  /// Has the events handled from now on. Once, before any dispatcher is used. May throw
  /// std::bad_alloc.
  static void Init();
  /// Ends that. Events that wait, or come later, are not handled; their items are not destroyed.
  static void Destroy();

  /// What Init installs: runs the item of an event, unless the dispatcher is destroyed in the sense
  /// of ThreadRunOnMainThreadDestroy, and destroys it. An event without an item is ignored; one
  /// without a dispatcher too, and its item is deliberately neither run nor destroyed. Always 0.
  static OSStatus EventHandler(EventHandlerCallRef next, EventRef event, void* userData);

  LThreadRunOnMainThread() = default;
  /// Leaves events alone; see ThreadRunOnMainThreadDestroy.
  virtual ~LThreadRunOnMainThread();
  LThreadRunOnMainThread(const LThreadRunOnMainThread&) = delete;
  LThreadRunOnMainThread& operator=(const LThreadRunOnMainThread&) = delete;

  /// Takes over an item, which may be null, and destroys it without running it. Deliberate: within
  /// this library nothing is posted.
  void RunOnMainThread(LThreadRunOnMainThreadData* item);

  /// Takes this dispatcher's events out of the queue and destroys their items, without running
  /// them; not those that are posted meanwhile. Nothing before Init, and after
  /// ThreadRunOnMainThreadDestroy.
  void ClearPendingEvents();

  /// FlushEventFromQueue of the dispatcher that the pointer leads to.
  static bool FlushEventFromQueueCallBack(EventRef event, void* dispatcher);
  /// For an event that waits in the queue: true when it is to be taken out, being this
  /// dispatcher's. Its item is then destroyed, and the event's pointer to it null.
  bool FlushEventFromQueue(EventRef event);

  /// ClearPendingEvents; items that still arrive afterwards are destroyed without being run.
  void ThreadRunOnMainThreadDestroy();

 private:
  // What Init found and installed. Init alone sets the queue; Destroy makes the other two null.
  static EventQueueRef eventQueue;
  static EventHandlerUPP eventHandlerUPP;
  static EventHandlerRef installedHandler;

  bool enabled_ = true;
  LLockObject mutex_;
};

#endif  // ZORVEX_FOUNDATION_THREADS_RUNONMAINTHREAD_H
