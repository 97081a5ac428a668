// SPDX-License-Identifier: MIT
#include "platform/eventqueue.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>

using std::chrono::steady_clock;

class OpaqueEventQueueRef {
 public:
  std::size_t Count() {
    const std::lock_guard lock(mutex_);
    return events_.size();
  }

  void Post(EventRef event) {
    const std::lock_guard lock(mutex_);
    if (!isAttached_) AttachSource();
    isAttached_ = true;
    events_.emplace_hint(events_.end(), ++lastPosted_, event);
    RetainEvent(event);
    if (events_.size() == 1) g_main_context_wakeup(nullptr);
    posted_.notify_one();
  }

  /// The oldest event, or null when there came none in time.
  EventRef Take(steady_clock::time_point deadline) {
    std::unique_lock lock(mutex_);
    if (!posted_.wait_until(lock, deadline, [&] { return !events_.empty(); })) return nullptr;
    EventRef event = events_.begin()->second;
    events_.erase(events_.begin());
    return event;
  }

  void Flush(EventComparatorUPP matches, void* data) {
    Number last = LastPosted();
    for (Number number = 0; EventRef event = RetainNext(number, last);) {
      // Without the lock: who is asked may use the queue itself, and may even flush it.
      if (matches(event, data)) Remove(number);
      ReleaseEvent(event);
    }
  }

  /// Lets the sources of the default main context run that are ready, when the calling thread is
  /// the one that they belong to. This queue's own source keeps quiet meanwhile: the caller wants
  /// the events for itself. Loops that the others run, as a dialogue does, have them handled.
  void ServeMainContext() {
    GMainContext* const context = g_main_context_default();
    if (!g_main_context_is_owner(context) && gettid() != getpid()) return;
    if (!g_main_context_acquire(context)) return;  // another thread runs it
    const int outerQuietDepth = SetQuietDepth(g_main_depth());
    const auto deadline = steady_clock::now() + kServeLimit;
    while (g_main_context_iteration(context, FALSE) && steady_clock::now() < deadline)
      continue;
    SetQuietDepth(outerQuietDepth);
    g_main_context_release(context);
  }

 private:
  /// Sources that are always ready, as a host's idle work, must not hold up the caller.
  static constexpr std::chrono::milliseconds kServeLimit{10};

  /// Counts the postings. An event may be posted more than once, each time with a reference.
  using Number = std::uint64_t;

  Number LastPosted() {
    const std::lock_guard lock(mutex_);
    return lastPosted_;
  }
  /// The first event after `number`, which becomes its number, with a reference for the caller;
  /// null when there is none up to `last`.
  EventRef RetainNext(Number& number, Number last) {
    const std::lock_guard lock(mutex_);
    const auto next = events_.upper_bound(number);
    if (next == events_.end() || next->first > last) return nullptr;
    number = next->first;
    return RetainEvent(next->second);
  }
  void Remove(Number number) {
    const std::lock_guard lock(mutex_);
    const auto found = events_.find(number);
    if (found == events_.end()) return;
    ReleaseEvent(found->second);
    events_.erase(found);
  }

  /// Gives the one before.
  int SetQuietDepth(int depth) {
    const std::lock_guard lock(mutex_);
    return std::exchange(quietDepth_, depth);
  }

  bool IsSourceReady() {
    const std::lock_guard lock(mutex_);
    return !events_.empty() && g_main_depth() != quietDepth_;
  }

  static void AttachSource() {
    static GSourceFuncs functions = {
        .prepare = [](GSource*, int* timeout) -> gboolean {
          *timeout = -1;
          return GetMainEventQueue()->IsSourceReady();
        },
        .check = [](GSource*) -> gboolean { return GetMainEventQueue()->IsSourceReady(); },
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
    // For a handler that runs a loop of its own, as a dialogue does.
    g_source_set_can_recurse(source, TRUE);
    g_source_attach(source, nullptr);
  }

  std::mutex mutex_;
  std::condition_variable posted_;
  std::map<Number, EventRef> events_;  // each with a reference
  Number lastPosted_ = 0;
  bool isAttached_ = false;  // to the default main context, from the first event on
  int quietDepth_ = -1;      // of the main loop at which the source is never ready
};

// The queue lives as long as the process: main loops may outlast anything that is torn down at its
// exit.
EventQueueRef GetMainEventQueue() {
  static auto* const queue = new OpaqueEventQueueRef;
  return queue;
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

OSStatus PostEventToQueue(EventQueueRef queue, EventRef event) {
  queue->Post(event);
  return noErr;
}

void FlushSpecificEventsFromQueue(EventQueueRef queue, EventComparatorUPP matches, void* data) {
  if (queue != nullptr) queue->Flush(matches, data);
}
