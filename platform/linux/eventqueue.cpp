// SPDX-License-Identifier: MIT
#include "platform/eventqueue.h"

#include <cxxabi.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

using std::chrono::steady_clock;

class OpaqueEventRef {
 public:
  OpaqueEventRef(std::uint32_t eventClass, std::uint32_t eventKind)
      : eventClass_(eventClass), eventKind_(eventKind) {}

  void Retain() { references_.fetch_add(1, std::memory_order_relaxed); }
  void Release() {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
  std::uint32_t Class() const { return eventClass_; }
  std::uint32_t Kind() const { return eventKind_; }

  void SetParameter(std::uint32_t name, std::uint32_t type, std::size_t size, const void* data) {
    const auto* const bytes = static_cast<const unsigned char*>(data);
    Parameter added{name, type, {bytes, bytes + size}};
    const auto known = std::ranges::find(parameters_, name, &Parameter::name);
    if (known != parameters_.end()) {
      *known = std::move(added);
    } else {
      parameters_.push_back(std::move(added));
    }
  }
  OSStatus GetParameter(std::uint32_t name, std::uint32_t type, std::size_t size,
                        void* data) const {
    const auto known = std::ranges::find(parameters_, name, &Parameter::name);
    if (known == parameters_.end() || known->type != type) return eventParameterNotFoundErr;
    std::copy_n(known->bytes.begin(), std::min(size, known->bytes.size()),
                static_cast<unsigned char*>(data));
    return noErr;
  }

 private:
  ~OpaqueEventRef() = default;

  struct Parameter {
    std::uint32_t name;
    std::uint32_t type;
    std::vector<unsigned char> bytes;
  };

  const std::uint32_t eventClass_;
  const std::uint32_t eventKind_;
  std::vector<Parameter> parameters_;
  std::atomic<int> references_{1};
};

class OpaqueEventHandlerRef {
 public:
  OpaqueEventHandlerRef(OpaqueEventTargetRef& installedOn, std::uint32_t handledClass,
                        std::uint32_t handledKind, EventHandlerProc called, void* calledWith)
      : target(installedOn),
        eventClass(handledClass),
        eventKind(handledKind),
        proc(called),
        data(calledWith) {}

  OpaqueEventTargetRef& target;
  const std::uint32_t eventClass;
  const std::uint32_t eventKind;
  const EventHandlerProc proc;
  void* const data;
  std::atomic<bool> isRemoved{false};
};

class OpaqueEventTargetRef {
 public:
  EventHandlerRef Install(std::uint32_t eventClass, std::uint32_t eventKind, EventHandlerProc proc,
                          void* data) {
    auto handler =
        std::make_shared<OpaqueEventHandlerRef>(*this, eventClass, eventKind, proc, data);
    const std::lock_guard lock(mutex_);
    handlers_.insert(handlers_.begin(), handler);
    return handler.get();
  }

  void Remove(EventHandlerRef handler) {
    const std::lock_guard lock(mutex_);
    handler->isRemoved = true;
    std::erase_if(handlers_, [&](const auto& installed) { return installed.get() == handler; });
  }

  OSStatus Send(EventRef event) {
    for (const auto& handler : HandlersOf(*event)) {
      if (handler->isRemoved) continue;
      const OSStatus status = Call(*handler, event);
      if (status != eventNotHandledErr) return status;
    }
    return eventNotHandledErr;
  }

 private:
  using Handlers = std::vector<std::shared_ptr<OpaqueEventHandlerRef>>;

  /// References of their own: handlers may be removed while they are called.
  Handlers HandlersOf(const OpaqueEventRef& event) {
    Handlers found;
    const std::lock_guard lock(mutex_);
    std::ranges::copy_if(handlers_, std::back_inserter(found), [&](const auto& handler) {
      return handler->eventClass == event.Class() && handler->eventKind == event.Kind();
    });
    return found;
  }

  /// The caller may be GLib, which knows no exceptions.
  static OSStatus Call(const OpaqueEventHandlerRef& handler, EventRef event) {
    try {
      return handler.proc(event, handler.data);
    } catch (abi::__forced_unwind&) {
      throw;
    } catch (...) {
      return noErr;
    }
  }

  std::mutex mutex_;
  Handlers handlers_;  // the newest first
};

class OpaqueEventQueueRef {
 public:
  std::size_t Count() {
    const std::lock_guard lock(mutex_);
    return events_.size();
  }

  void Post(EventRef event) {
    const std::lock_guard lock(mutex_);
    if (!source_) source_ = AttachSource();
    events_.push_back(event);
    event->Retain();
    UpdateSource();
    posted_.notify_one();
  }

  /// The oldest event, or null when there came none in time.
  EventRef Take(steady_clock::time_point deadline) {
    std::unique_lock lock(mutex_);
    if (!posted_.wait_until(lock, deadline, [&] { return !events_.empty(); })) return nullptr;
    EventRef event = events_.front();
    events_.pop_front();
    UpdateSource();
    return event;
  }

  void Flush(bool (*matches)(EventRef, void*), void* data) {
    for (EventRef event : Waiting()) {
      // One at a time and without the lock: what is asked may use the queue itself.
      if (Contains(event) && matches(event, data)) Remove(event);
      event->Release();
    }
  }

  /// Lets the sources of the default main context run that are ready, when the calling thread is
  /// the one that they belong to. This queue's own source keeps quiet meanwhile: the caller wants
  /// the events for itself.
  void ServeMainContext() {
    GMainContext* const context = g_main_context_default();
    if (!g_main_context_is_owner(context) && gettid() != getpid()) return;
    if (!g_main_context_acquire(context)) return;  // another thread runs it
    SuspendSource(+1);
    const auto deadline = steady_clock::now() + kServeLimit;
    while (g_main_context_iteration(context, FALSE) && steady_clock::now() < deadline)
      continue;
    SuspendSource(-1);
    g_main_context_release(context);
  }

 private:
  /// Sources that are always ready, as a host's idle work, must not hold up the caller.
  static constexpr std::chrono::milliseconds kServeLimit{10};

  /// The events, each with a reference for the caller.
  std::vector<EventRef> Waiting() {
    const std::lock_guard lock(mutex_);
    std::vector<EventRef> waiting(events_.begin(), events_.end());
    std::ranges::for_each(waiting, RetainEvent);
    return waiting;
  }
  bool Contains(EventRef event) {
    const std::lock_guard lock(mutex_);
    return std::ranges::find(events_, event) != events_.end();
  }
  void Remove(EventRef event) {
    const std::lock_guard lock(mutex_);
    // An event may have been posted more than once, each time with a reference.
    for (auto posted = std::erase(events_, event); posted > 0; --posted)
      event->Release();
    UpdateSource();
  }

  void SuspendSource(int change) {
    const std::lock_guard lock(mutex_);
    suspensions_ += change;
    UpdateSource();
  }

  /// The caller holds the lock. A source that is ready at time 0 is ready always, at -1 never.
  void UpdateSource() {
    if (source_) g_source_set_ready_time(source_, events_.empty() || suspensions_ > 0 ? -1 : 0);
  }

  GSource* AttachSource() {
    static GSourceFuncs functions = {
        .prepare = nullptr,
        .check = nullptr,
        .dispatch = [](GSource*, GSourceFunc, void*) -> gboolean {
          if (EventRef event = GetMainEventQueue()->Take({})) {
            SendEventToEventTarget(event, GetEventDispatcherTarget());
            ReleaseEvent(event);
          }
          return G_SOURCE_CONTINUE;
        },
        .finalize = nullptr,
        .closure_callback = nullptr,
        .closure_marshal = nullptr,
    };
    GSource* const source = g_source_new(&functions, sizeof(GSource));
    g_source_set_static_name(source, "zorvex events");
    g_source_attach(source, nullptr);
    return source;
  }

  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<EventRef> events_;  // each with a reference
  GSource* source_ = nullptr;    // on the default main context, made for the first event
  int suspensions_ = 0;
};

// The queue and the target live as long as the process: main loops and handlers may outlast
// anything that is torn down at its exit.
EventQueueRef GetMainEventQueue() {
  static auto* const queue = new OpaqueEventQueueRef;
  return queue;
}

EventTargetRef GetEventDispatcherTarget() {
  static auto* const target = new OpaqueEventTargetRef;
  return target;
}

std::size_t GetNumEventsInQueue(EventQueueRef queue) {
  return queue->Count();
}

OSStatus ReceiveNextEvent(double timeout, EventRef* event) {
  constexpr double kLongest = 1e9;  // seconds; what a time point can be reckoned with
  constexpr std::chrono::milliseconds kStep{20};
  const std::chrono::duration<double> wait(timeout > 0 ? std::min(timeout, kLongest) : 0.0);
  const auto end = steady_clock::now() + std::chrono::duration_cast<steady_clock::duration>(wait);
  EventQueueRef queue = GetMainEventQueue();
  // What waits comes first: many events do not each take the time of the host's sources.
  *event = queue->Take({});
  if (*event) return noErr;
  for (;;) {
    queue->ServeMainContext();
    const auto now = steady_clock::now();
    *event = queue->Take(std::min(end, now + kStep));
    if (*event) return noErr;
    if (now >= end) return eventLoopTimedOutErr;
  }
}

OSStatus SendEventToEventTarget(EventRef event, EventTargetRef target) {
  return target->Send(event);
}

EventRef CreateEvent(std::uint32_t eventClass, std::uint32_t eventKind) {
  return new OpaqueEventRef(eventClass, eventKind);
}

EventRef RetainEvent(EventRef event) {
  event->Retain();
  return event;
}

void ReleaseEvent(EventRef event) {
  event->Release();
}

std::uint32_t GetEventClass(EventRef event) {
  return event->Class();
}

std::uint32_t GetEventKind(EventRef event) {
  return event->Kind();
}

void SetEventParameter(EventRef event, std::uint32_t name, std::uint32_t type, std::size_t size,
                       const void* data) {
  event->SetParameter(name, type, size, data);
}

OSStatus GetEventParameter(EventRef event, std::uint32_t name, std::uint32_t type, std::size_t size,
                           void* data) {
  return event->GetParameter(name, type, size, data);
}

OSStatus PostEventToQueue(EventQueueRef queue, EventRef event) {
  queue->Post(event);
  return noErr;
}

void FlushSpecificEventsFromQueue(EventQueueRef queue, bool (*matches)(EventRef event, void* data),
                                  void* data) {
  queue->Flush(matches, data);
}

EventHandlerRef InstallEventHandler(EventTargetRef target, std::uint32_t eventClass,
                                    std::uint32_t eventKind, EventHandlerProc handler, void* data) {
  return target->Install(eventClass, eventKind, handler, data);
}

void RemoveEventHandler(EventHandlerRef handler) {
  handler->target.Remove(handler);
}
