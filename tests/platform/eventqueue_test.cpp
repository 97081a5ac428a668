// SPDX-License-Identifier: MIT
#include "platform/eventqueue.h"

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;

void Post(std::uint32_t kind) {
  EventRef event = CreateEvent(1, kind);
  PostEventToQueue(GetMainEventQueue(), event);
  ReleaseEvent(event);
}

/// The kinds of the events that wait, which are taken out.
std::vector<std::uint32_t> Received(double timeout = 0) {
  std::vector<std::uint32_t> kinds;
  EventRef event = nullptr;
  while (ReceiveNextEvent(timeout, &event) == noErr) {
    kinds.push_back(GetEventKind(event));
    ReleaseEvent(event);
  }
  EXPECT_EQ(event, nullptr);
  return kinds;
}

TEST(EventQueue, HandlersAreAskedFromTheNewestUntilOneHandles) {
  static std::string called;
  static EventHandlerRef self;
  const auto install = [](std::uint32_t kind, EventHandlerUPP handler,
                          EventTargetRef target = GetEventDispatcherTarget()) {
    EventHandlerRef installed = nullptr;
    const EventTypeSpec types[] = {{2, kind}, {1, kind}};
    EXPECT_EQ(InstallEventHandler(target, handler, 2, types, nullptr, &installed), noErr);
    return installed;
  };
  const auto send = [](std::uint32_t kind) {
    EventRef event = CreateEvent(1, kind);
    const OSStatus status = SendEventToEventTarget(event, GetEventDispatcherTarget());
    ReleaseEvent(event);
    return status;
  };
  using Call = EventHandlerCallRef;
  EventHandlerRef first = install(1, [](Call, EventRef, void*) { return called += 'a', 7; });
  EventHandlerRef throwing = install(2, [](Call, EventRef, void*) -> OSStatus {
    called += 'b';
    throw 1;
  });
  EventHandlerRef passing =
      install(1, [](Call, EventRef, void*) { return called += 'c', eventNotHandledErr; });
  self = install(1, [](Call, EventRef, void*) {
    called += 'd';
    RemoveEventHandler(self);
    return eventNotHandledErr;
  });
  // Asked last, though installed last: it is the application's.
  const auto application = [](Call, EventRef, void*) { return called += 'e', 8; };
  EventHandlerRef last = install(1, application, GetApplicationEventTarget());
  EXPECT_THAT((std::vector{send(1), send(1), send(2), send(3)}),
              ElementsAre(7, 7, noErr, eventNotHandledErr));
  RemoveEventHandler(first);
  EXPECT_EQ(send(1), 8);
  EXPECT_EQ(std::exchange(called, ""), "dcacabce");

  EventHandlerRef around = install(1, [](Call next, EventRef event, void*) {
    called += '<';
    const OSStatus status = CallNextEventHandler(next, event);
    called += '>';
    return status == 8 ? eventNotHandledErr : status;  // and yet none is asked twice
  });
  EXPECT_EQ(send(1), eventNotHandledErr);
  RemoveEventHandler(last);
  RemoveEventHandler(around);
  RemoveEventHandler(nullptr);
  EXPECT_EQ(send(1), eventNotHandledErr);
  EXPECT_EQ(std::exchange(called, ""), "<ce>c");
  RemoveEventHandler(throwing);
  RemoveEventHandler(passing);
}

TEST(EventQueue, FlushingAsksForEachAndMayPostAndSetParameters) {
  for (std::uint32_t kind = 1; kind <= 5; ++kind)
    Post(kind);
  const auto isOdd = [](EventRef event, void*) {
    const std::uint32_t kind = GetEventKind(event);
    std::uint32_t kept = 99;
    std::uint64_t longer = 99;
    SetEventParameter(event, 1, 2, sizeof kind, "????");
    SetEventParameter(event, 1, 3, sizeof kind, &kind);
    EXPECT_EQ(GetEventParameter(event, 1, 2, sizeof kept, &kept), eventParameterNotFoundErr);
    EXPECT_EQ(GetEventParameter(event, 1, 3, sizeof longer, &longer), eventParameterNotFoundErr);
    EXPECT_TRUE(kept == 99 && longer == 99);
    if (kind == 4) Post(9);
    return GetEventParameter(event, 1, 3, sizeof kept, &kept) == noErr && kept % 2 == 1;
  };
  FlushSpecificEventsFromQueue(GetMainEventQueue(), isOdd, nullptr);
  EXPECT_EQ(GetNumEventsInQueue(GetMainEventQueue()), 3u);
  EXPECT_THAT(Received(), ElementsAre(2, 4, 9));
}

// Whoever receives gets the events, in their order, while the host's own sources run; a GLib loop
// has them handled.
TEST(EventQueue, SharesTheMainThreadWithGLib) {
  static int idles;
  idles = 0;
  const guint idle = g_idle_add([](void*) -> gboolean { return ++idles, TRUE; }, nullptr);
  Post(1);
  Post(2);
  EXPECT_THAT(Received(0.05), ElementsAre(1, 2));  // though an idle source is always ready
  const int before = idles;
  EXPECT_GT(before, 0);
  std::jthread([] { Received(); });  // runs no sources
  EXPECT_EQ(idles, before);
  g_source_remove(idle);

  // A dialogue that a host's source runs meanwhile waits for an event to be handled.
  static int handled;
  const EventHandlerUPP handle = [](EventHandlerCallRef, EventRef, void*) {
    return ++handled, noErr;
  };
  const EventTypeSpec awaited = {1, 4};
  EventHandlerRef handler = nullptr;
  InstallEventHandler(GetEventDispatcherTarget(), handle, 1, &awaited, nullptr, &handler);
  const auto dialogue = [](void*) -> gboolean {
    Post(4);
    for (int i = 0; handled == 0 && i < 100; ++i)
      g_main_context_iteration(nullptr, FALSE);
    return FALSE;
  };
  g_idle_add(dialogue, nullptr);
  EXPECT_THAT(Received(), ElementsAre());
  EXPECT_EQ(handled, 1);
  RemoveEventHandler(handler);

  // Every tenth event is handled by a loop that the handler of another one runs.
  int events = 0;
  const auto count = [](EventHandlerCallRef, EventRef, void* data) {
    auto& counted = *static_cast<int*>(data);
    if (++counted % 10 == 1) {
      const int last = counted;
      while (counted == last)
        g_main_context_iteration(nullptr, TRUE);
    }
    return noErr;
  };
  const EventTypeSpec type = {1, 3};
  EventHandlerRef counting = nullptr;
  InstallEventHandler(GetEventDispatcherTarget(), count, 1, &type, &events, &counting);
  std::vector<std::jthread> posters;
  for (int i = 0; i < 4; ++i) {
    posters.emplace_back([] {
      for (int n = 0; n < 100; ++n)
        Post(3);
    });
  }
  while (events < 400)
    g_main_context_iteration(nullptr, TRUE);
  RemoveEventHandler(counting);
  EXPECT_EQ(GetNumEventsInQueue(GetMainEventQueue()), 0u);
}

}  // namespace
