// SPDX-License-Identifier: MIT
#include "foundation/threads/systemlock.h"

#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/wait.h>

#include <algorithm>

#include "foundation/threads/signalobject.h"
#include "tests/foundation/threads/waiting.h"

namespace {

using namespace std::chrono_literals;

class SystemLockTest : public WaitingTest {
 protected:
  SystemLockTest() { RemoveSet(); }
  ~SystemLockTest() override { RemoveSet(); }

  int FindSet() const { return semget(LSystemLockMutex::KeyFromName(name_), 0, 0); }
  int Value() const { return semctl(FindSet(), 0, GETVAL); }  // -1 when there is no set
  void RemoveSet() const { semctl(FindSet(), 0, IPC_RMID); }

  // Six digits, so that no two tests running side by side share a key.
  const std::string text_ = std::to_string(getpid() % 900000 + 100000);
  const char* const name_ = text_.c_str();
};

template <typename Function>
pid_t StartProcess(Function function) {
  const pid_t child = fork();
  if (child != 0) return child;
  alarm(30);
  function();
  _exit(0);
}

/// Another process that holds the lock until it is told to release it, or is killed.
class Holder {
 public:
  explicit Holder(const char* name)
      : process_(StartProcess([&] {
          LSystemLockMutex lock(name);
          if (lock.Lock(10000)) holds_.Signal();
          release_.WaitSignal(LSignalWaitForever);
          lock.Unlock();
        })) {
    EXPECT_TRUE(holds_.WaitSignal(10000));
  }
  void End(bool killed) {
    killed ? void(kill(process_, SIGKILL)) : release_.Signal();
    waitpid(process_, nullptr, 0);
  }

 private:
  LSignalObject holds_, release_;
  const pid_t process_;
};

TEST_F(SystemLockTest, KeysOfNames) {
  EXPECT_EQ(LSystemLockMutex::KeyFromName(""), 11223);
  EXPECT_EQ(LSystemLockMutex::KeyFromName("\xff"), 359135);  // -1, not 255
  EXPECT_EQ(LSystemLockMutex::KeyFromName("Zorvex"), 2066408728);
}

TEST_F(SystemLockTest, SetOutlivesOnlyObjectsThatReleasedIt) {
  const struct {
    bool locks, releases;
    int held, left;
  } rows[] = {{false, false, 1, -1}, {true, true, 1, 1}, {true, false, 0, -1}};
  for (const auto& row : rows) {
    {
      LSystemLockMutex lock(name_);
      EXPECT_EQ(row.locks && lock.Lock(0), row.locks);
      if (row.releases) lock.Unlock();
      EXPECT_EQ(Value(), row.held);
      EXPECT_FALSE(row.locks && lock.Lock(0)) << "serves one locking, and is not recursive";
    }
    EXPECT_EQ(Value(), row.left);
    RemoveSet();
  }
}

TEST_F(SystemLockTest, TimeoutIsUsedUpInStepsOfTenMilliseconds) {
  Holder holder(name_);
  LSystemLockMutex lock(name_);
  // Signals must not shorten the sleeps.
  const std::jthread signals([thread = pthread_self()](std::stop_token stop) {
    for (; !stop.stop_requested(); std::this_thread::sleep_for(3ms))
      pthread_kill(thread, SIGUSR1);
  });
  const struct {
    unsigned int timeout;
    long least;
  } rows[] = {{0, 10}, {10, 10}, {11, 20}, {25, 30}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.timeout);
    // The shortest of several tries is free of what the machine adds.
    long shortest = 1000;
    for (int repeat = 0; repeat < 50 && shortest >= row.least + 10; ++repeat) {
      shortest = std::min(shortest, MillisecondsOf([&] { EXPECT_FALSE(lock.Lock(row.timeout)); }));
    }
    EXPECT_TRUE(shortest >= row.least && shortest < row.least + 10) << shortest;
  }
  holder.End(false);
  EXPECT_TRUE(lock.Lock(0));
}

TEST_F(SystemLockTest, WaitersGetWhatAnotherProcessReleasesOrDiesWith) {
  for (const bool killed : {false, true}) {
    for (const bool forever : {false, true}) {
      SCOPED_TRACE(testing::Message() << "killed " << killed << ", forever " << forever);
      Holder holder(name_);
      LSystemLockMutex lock(name_);
      BlockedThread waiter([&] { forever ? lock.LockForever() : void(lock.Lock(20000)); });
      EXPECT_TRUE(waiter.Asleep());
      holder.End(killed);
      waiter.Join();
      EXPECT_EQ(Value(), 0);
      lock.Unlock();
      EXPECT_EQ(Value(), 1);
    }
  }
}

// Each locking by an object of its own, the first ones racing to make the set.
TEST_F(SystemLockTest, ProcessesExcludeEachOther) {
  auto* counter = static_cast<volatile int*>(
      mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  pid_t children[4];
  for (pid_t& child : children) {
    child = StartProcess([&] {
      for (int round = 0; round < 100; ++round) {
        LSystemLockMutex lock(name_);
        lock.LockForever();
        const int value = *counter;
        sched_yield();
        *counter = value + 1;
        lock.Unlock();
      }
    });
  }
  for (const pid_t child : children)
    waitpid(child, nullptr, 0);
  EXPECT_EQ(*counter, 400);
}

}  // namespace
