// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_EVENTQUEUE_H
#define ZORVEX_PLATFORM_EVENTQUEUE_H

#include <cstddef>
#include <cstdint>

#include "platform/coreaudiotypes.h"

/// \file
/// The main event queue: events of a class and a kind that any thread posts and the main thread
/// handles. A host that runs a GLib main loop on the default main context has them handled there;
/// who waits on the main thread takes and sends them by hand. Thread-safe, but for the parameters
/// of one event, which one thread at a time sets. Costs nothing before it is used.

class OpaqueEventRef;
class OpaqueEventQueueRef;
class OpaqueEventTargetRef;
/// Reference counted: born with one reference, which belongs to its maker.
using EventRef = OpaqueEventRef*;
using EventQueueRef = OpaqueEventQueueRef*;
using EventTargetRef = OpaqueEventTargetRef*;

constexpr OSStatus eventNotHandledErr = -9874;
constexpr OSStatus eventLoopTimedOutErr = -9875;
constexpr OSStatus eventParameterNotFoundErr = -9870;

EventQueueRef GetMainEventQueue();
EventTargetRef GetEventDispatcherTarget();

/// How many events wait.
std::size_t GetNumEventsInQueue(EventQueueRef queue);

/// Takes the oldest event out of the main queue; the caller owns the result. On the main thread,
/// unless another one runs the default main context, the GLib sources that are ready run before,
/// for a few milliseconds, but for the queue's own.
///
/// \param timeout  in seconds: how long to wait for an event to come; 0 does not wait
/// \return 0, or eventLoopTimedOutErr when there is none
OSStatus ReceiveNextEvent(double timeout, EventRef* event);

/// Calls the handlers of the event's class and kind, the newest first, until one gives something
/// else than eventNotHandledErr; that is the result. An exception of a handler is dropped, and
/// counts as handled.
OSStatus SendEventToEventTarget(EventRef event, EventTargetRef target);

EventRef CreateEvent(std::uint32_t eventClass, std::uint32_t eventKind);
EventRef RetainEvent(EventRef event);
void ReleaseEvent(EventRef event);
std::uint32_t GetEventClass(EventRef event);
std::uint32_t GetEventKind(EventRef event);

/// Keeps a copy of `size` bytes under a name and a type, in place of what the name had.
void SetEventParameter(EventRef event, std::uint32_t name, std::uint32_t type, std::size_t size,
                       const void* data);
/// Copies the bytes kept under a name and a type, at most `size`; eventParameterNotFoundErr, and
/// `data` unchanged, when there are none.
OSStatus GetEventParameter(EventRef event, std::uint32_t name, std::uint32_t type, std::size_t size,
                           void* data);

/// Puts an event at the end of the queue, which keeps a reference of its own.
OSStatus PostEventToQueue(EventQueueRef queue, EventRef event);
/// Takes out the events for which `matches` gives true, which may do with event and queue what it
/// likes. On the thread that handles the events.
void FlushSpecificEventsFromQueue(EventQueueRef queue, bool (*matches)(EventRef event, void* data),
                                  void* data);

class OpaqueEventHandlerRef;
using EventHandlerRef = OpaqueEventHandlerRef*;
using EventHandlerProc = OSStatus (*)(EventRef event, void* data);

/// Has events of a class and kind handled until the handler is removed. A handler may remove
/// itself, and any other: its removal ends no call that is in progress, but none begins after it.
EventHandlerRef InstallEventHandler(EventTargetRef target, std::uint32_t eventClass,
                                    std::uint32_t eventKind, EventHandlerProc handler, void* data);
void RemoveEventHandler(EventHandlerRef handler);

#endif  // ZORVEX_PLATFORM_EVENTQUEUE_H
