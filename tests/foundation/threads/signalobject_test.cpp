// SPDX-License-Identifier: MIT
#include "foundation/threads/signalobject.h"

#include <algorithm>

#include "tests/foundation/threads/waiting.h"

namespace {

using SignalObjectTest = WaitingTest;

/// Waits for the first `count` of the events; four waits for three of them as a group.
bool Wait(const LSignalObject* events, int count, unsigned int timeout) {
  if (count == 1) return events[0].WaitSignal(timeout);
  if (count == 2) return events[0].WaitSignalDual(events[1], timeout);
  if (count == 3) return events[0].WaitSignalTriple(events[1], events[2], timeout);
  LSignalObjectGroup group;
  for (int index = 0; index < 3; ++index)
    group.Add(events[index]);
  return group.Select(timeout);
}

TEST_F(SignalObjectTest, EventsWakeEveryWaitAndStaySetUntilReset) {
  for (int count = 1; count <= 4; ++count) {
    SCOPED_TRACE(count);
    LSignalObject events[3];
    EXPECT_GE(MillisecondsOf([&] { EXPECT_FALSE(Wait(events, count, 30)); }), 30);
    // Without limit: ended by any of its events, or by a signal handler, which gives false.
    for (int waker = -1; waker < std::min(count, 3); ++waker) {
      SCOPED_TRACE(waker);
      BlockedThread waiter([&] { EXPECT_EQ(Wait(events, count, LSignalWaitForever), waker >= 0); });
      EXPECT_TRUE(waiter.Asleep());
      waker < 0 ? waiter.Interrupt() : LSignalObjectRef(events[waker]).Signal();
      waiter.Join();
      for (int again = 0; again < 2; ++again)
        EXPECT_EQ(Wait(events, count, 0), waker >= 0);
      if (waker >= 0) events[waker].Reset();
      EXPECT_FALSE(Wait(events, count, 0));
    }
  }
}

TEST_F(SignalObjectTest, OneResetClearsAnyNumberOfSignals) {
  LSignalObject event;
  for (const int signals : {1, 4095, 4096, 4097, 70000 /* more than the pipe holds */}) {
    for (int count = 0; count < signals; ++count)
      event.Signal();
    EXPECT_TRUE(event.IsSignaled());
    event.Reset();
    EXPECT_FALSE(event.IsSignaled()) << signals;
  }
}

TEST_F(SignalObjectTest, GroupsTakeAtMost256InOrder) {
  const struct {
    std::size_t own, added;
  } rows[] = {{0, 0}, {0, 5}, {5, 0}, {0, 256}, {56, 200}, {57, 200}, {255, 256}, {256, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.own << " + " << row.added);
    const std::size_t total = std::min<std::size_t>(row.own + row.added, 256);
    LSignalObject quiet, last, refused;
    LSignalObjectGroup group, other;
    for (std::size_t place = 1; place <= row.own + row.added; ++place)
      (place <= row.own ? group : other)
          .Add(place < total    ? quiet
               : place == total ? last
                                : refused);
    group.Add(other);
    EXPECT_EQ(group.Count(), total);
    refused.Signal();
    EXPECT_FALSE(group.Select(total == 0 ? LSignalWaitForever : 0));
    last.Signal();
    EXPECT_EQ(group.Select(0), total > 0);
    EXPECT_TRUE(total == 0 || group.ReturnedEvents(total - 1) == POLLIN);
    group.Add(group);
    EXPECT_EQ(group.Count(), std::min<std::size_t>(2 * total, 256));
  }
}

}  // namespace
