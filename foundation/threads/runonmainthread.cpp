// SPDX-License-Identifier: MIT
#include "foundation/threads/runonmainthread.h"

#include <memory>

static_assert(LThreadRunOnMainThread::kEventClass == 0x4C4E6F74);
static_assert(LThreadRunOnMainThread::kEventKind == 0x4C4E646B);
static_assert(LThreadRunOnMainThread::kItemParameter == 0x4C4E6461);
static_assert(LThreadRunOnMainThread::kDispatcherParameter == 0x4C4E7468);

EventQueueRef LThreadRunOnMainThread::eventQueue = nullptr;
EventHandlerUPP LThreadRunOnMainThread::eventHandlerUPP = nullptr;
EventHandlerRef LThreadRunOnMainThread::installedHandler = nullptr;

namespace {

/// Null, too, when the event has no such parameter.
template <typename Pointed>
Pointed* PointerParameter(EventRef event, std::uint32_t name) {
  Pointed* pointer = nullptr;
  GetEventParameter(event, name, typeVoidPtr, sizeof(void*), &pointer);
  return pointer;
}

LThreadRunOnMainThreadData* ItemOf(EventRef event) {
  return PointerParameter<LThreadRunOnMainThreadData>(event,
                                                      LThreadRunOnMainThread::kItemParameter);
}

LThreadRunOnMainThread* DispatcherOf(EventRef event) {
  return PointerParameter<LThreadRunOnMainThread>(event,
                                                  LThreadRunOnMainThread::kDispatcherParameter);
}

}  // namespace

LThreadRunOnMainThreadData::~LThreadRunOnMainThreadData() = default;

LThreadRunOnMainThread::~LThreadRunOnMainThread() = default;

void LThreadRunOnMainThread::Init() {
  const EventTypeSpec type = {kEventClass, kEventKind};
  eventQueue = GetMainEventQueue();
  eventHandlerUPP = EventHandler;
  InstallEventHandler(GetApplicationEventTarget(), eventHandlerUPP, 1, &type, nullptr,
                      &installedHandler);
}

void LThreadRunOnMainThread::Destroy() {
  RemoveEventHandler(installedHandler);
  installedHandler = nullptr;
  eventHandlerUPP = nullptr;
}

OSStatus LThreadRunOnMainThread::EventHandler(EventHandlerCallRef, EventRef event, void*) {
  LThreadRunOnMainThreadData* const item = ItemOf(event);
  if (item == nullptr) return noErr;
  const LThreadRunOnMainThread* const dispatcher = DispatcherOf(event);
  // Deliberately without destroying the item: nobody can tell whose it is.
  if (dispatcher == nullptr) return noErr;
  const std::unique_ptr<LThreadRunOnMainThreadData> owned(item);
  // Not locked, and not touched after the item has run: that may destroy it.
  if (dispatcher->enabled_) item->MainThreadFunction();
  return noErr;
}

void LThreadRunOnMainThread::RunOnMainThread(LThreadRunOnMainThreadData* item) {
  const LLockObjectGuard guard(mutex_);
  // Deliberately neither run nor posted: only hosts post events.
  delete item;
}

void LThreadRunOnMainThread::ClearPendingEvents() {
  const LLockObjectGuard guard(mutex_);
  if (enabled_) FlushSpecificEventsFromQueue(eventQueue, FlushEventFromQueueCallBack, this);
}

bool LThreadRunOnMainThread::FlushEventFromQueueCallBack(EventRef event, void* dispatcher) {
  return static_cast<LThreadRunOnMainThread*>(dispatcher)->FlushEventFromQueue(event);
}

bool LThreadRunOnMainThread::FlushEventFromQueue(EventRef event) {
  if (DispatcherOf(event) != this) return false;
  LThreadRunOnMainThreadData* const item = ItemOf(event);
  if (item == nullptr) return true;
  // First, so that nobody who sees the event meanwhile finds the item: what the item's destructor
  // flushes, for one, this event being in the queue still.
  LThreadRunOnMainThreadData* const none = nullptr;
  SetEventParameter(event, kItemParameter, typeVoidPtr, sizeof(void*), &none);
  delete item;
  return true;
}

void LThreadRunOnMainThread::ThreadRunOnMainThreadDestroy() {
  ClearPendingEvents();
  enabled_ = false;
}
