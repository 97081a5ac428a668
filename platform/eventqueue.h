// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_EVENTQUEUE_H
#define ZORVEX_PLATFORM_EVENTQUEUE_H

#include <zorvex/foundation/export.h>
#include <zorvex/platform/coreaudiotypes.h>
#include <zorvex/platform/fourcharcode.h>

#include <cstddef>
#include <cstdint>

/// \file
/// The main event queue: events of a class and a kind that any thread posts and the main thread
/// handles.
///
///     EventRef event = CreateEvent(FourCharCode("Host"), FourCharCode("done"));
///     SetEventParameter(event, FourCharCode("text"), typeVoidPtr, sizeof text, &text);
///     PostEventToQueue(GetMainEventQueue(), event);
///     ReleaseEvent(event);
///
/// Who handles them: a host that runs a GLib main loop on the default main context, as GTK does and
/// Qt with its GLib dispatcher, needs to do nothing, also in a loop that a handler runs. Any other
/// host takes and sends them on its main thread, as often as it likes:
///
///     for (EventRef event; ReceiveNextEvent(0, &event) == noErr; ReleaseEvent(event))
///       SendEventToEventTarget(event, GetEventDispatcherTarget());
///
/// Ownership: an event is counted. Its maker, and who receives it, own one reference; the queue has
/// one of its own for each time that the event waits in it. Bytes of parameters are copied; what
/// they point to is the host's, and is not freed when an event goes unhandled.
///
/// Threads: everything may be called from any thread, but for what says more. The parameters of one
/// event are for one thread at a time: the poster's until it is posted, then the main one's. No
/// lock is held while handlers run or events are compared; they may call anything here.
///
/// What makes or keeps something (CreateEvent, SetEventParameter, PostEventToQueue,
/// InstallEventHandler) throws std::bad_alloc when there is no memory, and has then changed
/// nothing; nothing else throws. Nothing here costs anything before it is used.

class OpaqueEventRef;
class OpaqueEventQueueRef;
class OpaqueEventTargetRef;
class OpaqueEventHandlerRef;
class OpaqueEventHandlerCallRef;
using EventRef = OpaqueEventRef*;
using EventQueueRef = OpaqueEventQueueRef*;
using EventTargetRef = OpaqueEventTargetRef*;
using EventHandlerRef = OpaqueEventHandlerRef*;
using EventHandlerCallRef = OpaqueEventHandlerCallRef*;

constexpr OSStatus eventParameterNotFoundErr = -9870;
constexpr OSStatus eventNotHandledErr = -9874;
constexpr OSStatus eventLoopTimedOutErr = -9875;

/// The type of a parameter that is a pointer (8 bytes).
constexpr std::uint32_t typeVoidPtr = FourCharCode("void");

/// Never null; one for the process, for as long as it lives.
ZORVEX_API EventQueueRef GetMainEventQueue();

/// How many events wait.
ZORVEX_API std::size_t GetNumEventsInQueue(EventQueueRef queue);

/// Puts an event at the end of the queue. Always 0.
ZORVEX_API OSStatus PostEventToQueue(EventQueueRef queue, EventRef event);

/// Takes the oldest event out of the main queue; the caller owns the result. On the main thread,
/// unless another one runs the default main context, the GLib sources that are ready run before,
/// for a few milliseconds, but for the queue's own.
///
/// \param timeout  in seconds: how long to wait for an event to come; 0 does not wait
/// \return 0, or eventLoopTimedOutErr, and null in `event`, when there is none
ZORVEX_API OSStatus ReceiveNextEvent(double timeout, EventRef* event);

/// Whether an event is one of those looked for; `data` is what the search was given.
using EventComparatorUPP = bool (*)(EventRef event, void* data);

/// Takes out the events for which `matches` gives true, which may do with event and queue what it
/// likes; it is asked in the events' order, and not for events that are posted meanwhile. A null
/// queue has no events. On the thread that handles the events. Needs no memory.
ZORVEX_API void FlushSpecificEventsFromQueue(EventQueueRef queue, EventComparatorUPP matches,
                                             void* data);

/// Born with one reference, which belongs to the caller.
ZORVEX_API EventRef CreateEvent(std::uint32_t eventClass, std::uint32_t eventKind);
/// Gives the event back, with one more reference.
ZORVEX_API EventRef RetainEvent(EventRef event);
/// Destroys the event with its last reference.
ZORVEX_API void ReleaseEvent(EventRef event);
/// The class and the kind that it was made with.
ZORVEX_API std::uint32_t GetEventClass(EventRef event);
/// See GetEventClass.
ZORVEX_API std::uint32_t GetEventKind(EventRef event);

/// Keeps a copy of `size` bytes under a name and a type, in place of what the name had.
ZORVEX_API void SetEventParameter(EventRef event, std::uint32_t name, std::uint32_t type,
                                  std::size_t size, const void* data);
/// Copies the first `size` bytes kept under a name and a type; eventParameterNotFoundErr, and
/// `data` unchanged, when there are none or fewer: half a pointer is none.
ZORVEX_API OSStatus GetEventParameter(EventRef event, std::uint32_t name, std::uint32_t type,
                                      std::size_t size, void* data);

/// Where the queue's events go, and who receives them by hand sends them: the handlers installed
/// here are asked first, then those of the application. One for the process, as the other.
ZORVEX_API EventTargetRef GetEventDispatcherTarget();
/// Where the parts of an application install their handlers.
ZORVEX_API EventTargetRef GetApplicationEventTarget();

/// Calls the target's handlers of the event's class and kind, the newest first, until one gives
/// something else than eventNotHandledErr; that is the result. An exception of a handler is
/// dropped, and counts as handled.
ZORVEX_API OSStatus SendEventToEventTarget(EventRef event, EventTargetRef target);

struct EventTypeSpec {
  std::uint32_t eventClass;
  std::uint32_t eventKind;
};

/// A handler: gives 0 or a failure when it has handled the event, eventNotHandledErr to have the
/// next one asked. `next` stands for those that would be asked after it, and is valid during the
/// call.
using EventHandlerUPP = OSStatus (*)(EventHandlerCallRef next, EventRef event, void* userData);

/// Has events of some classes and kinds handled until the handler is removed. Always 0.
///
/// \param numTypes   how many there are in `types`, which are copied
/// \param userData   handed to the handler
/// \param installed  what RemoveEventHandler takes; may be null
ZORVEX_API OSStatus InstallEventHandler(EventTargetRef target, EventHandlerUPP handler,
                                        std::size_t numTypes, const EventTypeSpec* types,
                                        void* userData, EventHandlerRef* installed);
/// Once for each handler; null is ignored. A handler may remove itself, and any other: its removal
/// ends no call that is in progress, but none begins after it.
ZORVEX_API void RemoveEventHandler(EventHandlerRef handler);

/// For a handler that acts before or after the others: asks them, as if it had not handled the
/// event, and gives their result. None is asked twice for one sending.
ZORVEX_API OSStatus CallNextEventHandler(EventHandlerCallRef next, EventRef event);

#endif  // ZORVEX_PLATFORM_EVENTQUEUE_H
