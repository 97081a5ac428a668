// SPDX-License-Identifier: MIT
#include "foundation/threads/lockobject.h"

#include <functional>
#include <mutex>
#include <vector>

#include "tests/foundation/threads/waiting.h"

namespace {

using LockObjectTest = WaitingTest;

void RunThreads(int count, const std::function<void(int)>& work) {
  std::vector<std::jthread> threads;
  for (int index = 0; index < count; ++index)
    threads.emplace_back(work, index);
}

TEST_F(LockObjectTest, ExcludesOthersUntilAsManyUnlocksAsLocks) {
  LLockObject lock;
  long counter = 0;  // Plain, so that the thread sanitizer sees a lock that orders nothing.
  RunThreads(4, [&](int) {
    for (int round = 0; round < 10000; ++round) {
      const LLockObjectGuard outer(lock);
      { const std::unique_lock inner(lock, std::try_to_lock); }
      const long value = counter;
      if (value % 512 == 0) std::this_thread::yield();
      counter = value + 1;
    }
  });
  EXPECT_EQ(counter, 40000);
}

TEST_F(LockObjectTest, WriterWaitsForReadersWhileNewReadersEnter) {
  LLockObjectShared lock;
  std::atomic<int> readers{2};
  lock.LockShared();
  lock.UnlockShared();  // What this leaves behind must not keep the writer from falling asleep.
  lock.LockShared();
  lock.LockShared();
  BlockedThread writer([&] {
    lock.LockExclusive();
    EXPECT_EQ(readers, 0);
    lock.UnlockExclusive();
  });
  EXPECT_TRUE(writer.Asleep());
  ++readers;
  std::thread([&] { lock.LockShared(); }).join();
  writer.Interrupt();
  while (readers > 0) {
    EXPECT_TRUE(writer.Asleep());
    --readers;
    lock.UnlockShared();
  }
}

// Every transition at once, against the rule itself: one writer alone, or any number of readers.
TEST_F(LockObjectTest, NeverReadersBesideAWriter) {
  constexpr int rounds = 3000;
  LLockObjectShared lock;
  std::atomic<int> writersLeft{3};
  long guarded = 0;
  const auto read = [&] {
    const long before = guarded;
    if (before % 16 == 0) std::this_thread::yield();
    EXPECT_EQ(guarded, before);
  };
  RunThreads(5, [&](int index) {
    for (int round = 0; index < 3 && round < rounds; ++round) {
      if (index == 0) {
        lock.LockShared();
        const long before = guarded;
        lock.UpgradeLock();
        EXPECT_EQ(guarded, before);  // no other writer came in between
      } else {
        lock.LockExclusive();
      }
      read();
      const long mine = ++guarded;
      if (round % 2 == 0) {
        lock.DowngradeLock();
        EXPECT_EQ(guarded, mine);
        lock.UnlockShared();
      } else {
        lock.UnlockExclusive();
      }
    }
    writersLeft -= index < 3;
    // Readers outlast the writers: a writer may need one to leave before it wakes.
    while (index >= 3 && writersLeft > 0) {
      lock.LockShared();
      read();
      lock.UnlockShared();
      std::this_thread::yield();
    }
  });
  EXPECT_EQ(guarded, 3L * rounds);
}

}  // namespace
