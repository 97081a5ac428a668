// SPDX-License-Identifier: MIT
#include "platform/eventqueue.h"

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
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
  const auto install = [](std::uint32_t kind, EventHandlerProc handler) {
    return InstallEventHandler(GetEventDispatcherTarget(), 1, kind, handler, nullptr);
  };
  const auto send = [](std::uint32_t kind) {
    EventRef event = CreateEvent(1, kind);
    const OSStatus status = SendEventToEventTarget(event, GetEventDispatcherTarget());
    ReleaseEvent(event);
    return status;
  };
  EventHandlerRef first = install(1, [](EventRef, void*) { return called += 'a', 7; });
  install(2, [](EventRef, void*) -> OSStatus {
    called += 'b';
    throw 1;
  });
  install(1, [](EventRef, void*) { return called += 'c', eventNotHandledErr; });
  self = install(1, [](EventRef, void*) {
    called += 'd';
    RemoveEventHandler(self);
    return eventNotHandledErr;
  });
  EXPECT_THAT((std::vector{send(1), send(1), send(2), send(3)}),
              ElementsAre(7, 7, noErr, eventNotHandledErr));
  RemoveEventHandler(first);
  EXPECT_EQ(send(1), eventNotHandledErr);
  EXPECT_EQ(called, "dcacabc");
}

TEST(EventQueue, FlushingAsksForEachAndMayPostAndSetParameters) {
  for (std::uint32_t kind = 1; kind <= 5; ++kind)
    Post(kind);
  const auto isOdd = [](EventRef event, void*) {
    const std::uint32_t kind = GetEventKind(event);
    std::uint32_t kept = 99;
    SetEventParameter(event, 1, 2, sizeof kind, "????");
    SetEventParameter(event, 1, 3, sizeof kind, &kind);
    EXPECT_EQ(GetEventParameter(event, 1, 2, sizeof kept, &kept), eventParameterNotFoundErr);
    EXPECT_EQ(kept, 99u);
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

  int events = 0;
  const auto count = [](EventRef, void* data) { return ++*static_cast<int*>(data), noErr; };
  InstallEventHandler(GetEventDispatcherTarget(), 1, 3, count, &events);
  std::vector<std::jthread> posters;
  for (int i = 0; i < 4; ++i) {
    posters.emplace_back([] {
      for (int n = 0; n < 100; ++n)
        Post(3);
    });
  }
  while (events < 400)
    g_main_context_iteration(nullptr, TRUE);
  EXPECT_EQ(GetNumEventsInQueue(GetMainEventQueue()), 0u);
}

}  // namespace
