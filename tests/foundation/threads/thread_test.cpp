// SPDX-License-Identifier: MIT
#include "foundation/threads/thread.h"

#include <dlfcn.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "foundation/threads/detachedthread.h"
#include "tests/foundation/threads/waiting.h"

namespace {

// How the calling thread's next thread is made: as usual, not at all, so that it begins only when
// the gate is opened, or so that pthread_create returns only then.
enum class Making { Usual, Refused, BeginLate, ReturnLate };
thread_local Making making = Making::Usual;
LSignalObject* gate = nullptr;
void* (*lateEntry)(void*);

void* BeginLate(void* argument) {
  while (!gate->WaitSignal(LSignalWaitForever)) {
  }
  return lateEntry(argument);
}

}  // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*entry)(void*), void* argument) {
  using Create = decltype(&pthread_create);
  static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  const Making how = std::exchange(making, Making::Usual);
  if (how == Making::Refused) return EAGAIN;
  if (how == Making::BeginLate) lateEntry = std::exchange(entry, BeginLate);
  pthread_t made;
  const int result = create(&made, attributes, entry, argument);
  while (how == Making::ReturnLate && !gate->WaitSignal(LSignalWaitForever)) {
  }
  *thread = made;
  return result;
}

// Signals of events take a while when this is set.
std::atomic<bool> slowSignals = false;

extern "C" ssize_t write(int descriptor, const void* data, size_t size) {
  static const auto original = reinterpret_cast<decltype(&write)>(dlsym(RTLD_NEXT, "write"));
  if (size == 1 && slowSignals) usleep(300);
  return original(descriptor, data, size);
}

namespace {

class ThreadTest : public WaitingTest {
 protected:
  ThreadTest() { gate = &gate_; }
  LSignalObject gate_;
};

using Work = std::function<void(LThread&)>;

template <typename Base>
class Working final : public Base {
 public:
  explicit Working(Work work) : Base("working"), work_(std::move(work)) { ++alive; }
  ~Working() override {
    this->StopThreadNow();
    if (isDetached && alive > 1) usleep(100);
    --alive;
  }
  int ProcessWaitSignalForever(LSignalObjectRef signal) override {
    // The work may be over before the start has even waited for it.
    if (isDetached) usleep(300);
    return Base::ProcessWaitSignalForever(signal);
  }
  static inline std::atomic<int> alive = 0;

 private:
  static constexpr bool isDetached = std::is_same_v<Base, LDetachedThread>;
  void ThreadFunction() override { work_(*this); }
  Work work_;
};
using Worker = Working<LThread>;
using Detached = Working<LDetachedThread>;

void Nothing(LThread&) {}

void UntilStopped(LThread& self) {
  while (self.ProcessWaitUntilStopped() == 0) {
  }
}

TEST_F(ThreadTest, RunsOneAfterTheOther) {
  int runs = 0;
  Worker worker([&](LThread& self) {
    ++runs;
    self.Start(77);
    EXPECT_EQ(self.MachThreadId(), gettid());
    EXPECT_TRUE(self.IsRunning() && self.HasRun());
    UntilStopped(self);
    if (runs == 3) pthread_exit(nullptr);
  });
  EXPECT_FALSE(worker.IsRunning() || worker.HasRun());
  for (const int run : {1, 2, 3, 4}) {
    worker.StopThreadSoon();  // taken back by the start
    worker.Start(run);
    worker.Start(88);
    EXPECT_FALSE(worker.IsToStop());
    EXPECT_EQ(worker.Priority(), run);
    worker.StopThreadNow();
    EXPECT_TRUE(worker.IsToStop());
    EXPECT_FALSE(worker.IsRunning() || worker.MachThreadId() != -1);
    EXPECT_EQ(runs, run);
  }
  // Started again when the work is over and the end of the run not yet told.
  Worker again([](LThread&) { usleep(2000); });
  slowSignals = true;
  again.Start(0);
  while (again.IsRunning())
    std::this_thread::yield();
  again.Start(0);
  again.WaitFinished();
  EXPECT_FALSE(again.IsRunning());
  slowSignals = false;
  const Worker neverStarted(Nothing);
}

TEST_F(ThreadTest, WaitsSeeEventsAndStopRequests) {
  LSignalObject event;
  LSignalObjectGroup full;
  while (full.Count() < LSignalObjectGroup::Capacity)
    full.Add(event);
  for (const bool stopped : {false, true}) {
    Worker worker(Nothing);
    if (stopped) worker.StopThreadSoon();
    for (const bool isSet : {false, true}) {
      LSignalObjectGroup group;
      group.Add(event);
      EXPECT_EQ(worker.ProcessWait(0), stopped ? 1 : 0);
      EXPECT_EQ(worker.ProcessWaitSignal(event, 0), stopped ? 1 : isSet ? 0 : 2);
      for (const std::size_t count : {2U, 3U, 4U}) {
        EXPECT_EQ(worker.ProcessWaitSignalObjectGroup(group, 0), stopped ? 1 : isSet ? 0 : 2);
        EXPECT_EQ(group.Count(), count);
      }
      EXPECT_EQ(worker.ProcessWaitSignalObjectGroup(full, 0), isSet ? 1 : 2);
      isSet ? event.Reset() : event.Signal();
    }
  }
}

TEST_F(ThreadTest, ThreadsThatCannotBeMadeAreNotWaitedFor) {
  rlimit limit;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  int runs = 0;
  const Work work = [&](LThread&) { ++runs; };
  Worker worker(work);
  for (const auto how : {Making::Refused, Making::Refused, Making::Usual}) {
    making = how;
    worker.Start(5);
    EXPECT_TRUE(how == Making::Usual || worker.IsRunning());
    EXPECT_EQ(worker.HasRun(), how == Making::Usual);
    worker.StopThreadNow();
  }
  const rlimit none = {.rlim_cur = 0, .rlim_max = limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  Worker withoutEvents(work);
  withoutEvents.Start(0);
  EXPECT_FALSE(withoutEvents.HasRun());
  worker.Start(0);  // has its events, but must not poll them any more
  worker.WaitFinished();
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(runs, 2);
}

// Destroyed before the thread has begun, and under a Start that does not know yet of a thread whose
// work is over.
TEST_F(ThreadTest, NothingIsUsedAfterTheObjectIsGone) {
  const struct {
    Making how;
    bool stopped;
  } rows[] = {{Making::BeginLate, false}, {Making::BeginLate, true}, {Making::ReturnLate, false}};
  for (const auto& row : rows) {
    std::atomic<int> runs = 0;
    auto* const worker = new Worker([&](LThread&) { ++runs; });
    BlockedThread starter([&] {
      making = row.how;
      worker->Start(91);
    });
    while (!worker->HasRun() || runs != (row.how == Making::ReturnLate ? 1 : 0))
      std::this_thread::yield();
    EXPECT_TRUE(starter.Asleep());
    starter.Interrupt();
    EXPECT_TRUE(starter.Asleep());
    if (row.stopped) {
      worker->StopThreadSoon();
      starter.Join();
      worker->Start(0);  // ignored: there is a thread, though it has not begun
    }
    BlockedThread destroyer([&] { delete worker; });
    EXPECT_TRUE(destroyer.Asleep());
    destroyer.Interrupt();
    EXPECT_TRUE(destroyer.Asleep());
    gate_.Signal();
    destroyer.Join();
    EXPECT_EQ(runs, 1);
    if (!row.stopped) starter.Join();
    gate_.Reset();
  }
}

// In a process of its own. Gives a bit for each thing that was not as it should be.
int FailuresOfPriorities() {
  const sched_param realTime = {.sched_priority = 5}, normal = {.sched_priority = 0};
  const bool isGranted = sched_setscheduler(0, SCHED_RR, &realTime) == 0;
  sched_setscheduler(0, SCHED_OTHER, &normal);
  const int kept = isGranted ? SCHED_RESET_ON_FORK : 0, granted = isGranted ? SCHED_RR : 0;
  int failures = 0;
  LSignalObject started;
  Worker worker([&](LThread& self) {
    started.WaitSignal(LSignalWaitForever);
    const auto check = [&](int bit, int policy) {
      if (sched_getscheduler(0) != policy) failures |= bit;
    };
    check(1, granted | kept);
    std::thread([&] { check(2, SCHED_OTHER); }).join();
    self.SetPriority(7);
    check(4, granted | kept);
    const rlimit none = {};
    setrlimit(RLIMIT_RTPRIO, &none);
    if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0) failures |= 8;
    for (const int priority : {0, 91}) {
      self.SetPriority(priority);
      check(16, SCHED_OTHER | kept);
    }
  });
  worker.Start(91);
  started.Signal();
  worker.WaitFinished();
  return failures;
}

TEST_F(ThreadTest, Priority91IsRealTimeWhereItIsGranted) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";  // begins as a new program
  EXPECT_EXIT(_exit(FailuresOfPriorities()), testing::ExitedWithCode(0), "");
}

TEST_F(ThreadTest, AForkedChildLeavesTheParentsThreadsAlone) {
  auto worker = std::make_unique<Worker>(UntilStopped);
  worker->Start(0);
  auto owner = std::make_unique<LDetachedThreadsOwner>();
  auto* const detached = new Detached(UntilStopped);
  EXPECT_TRUE(owner->StartDetached(detached, 0));
  const pid_t child = fork();
  if (child == 0) {
    worker.reset();
    owner.reset();
    _exit(0);
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_FALSE(worker->IsToStop() || detached->IsToStop());
}

TEST_F(ThreadTest, OwnersDestroyEveryThreadOnce) {
  for (int repetition = 0; repetition < 20; ++repetition) {
    LDetachedThreadsOwner owner;
    owner.Add(new Detached(Nothing));  // never started
    for (const auto how : {Making::Usual, Making::Refused, Making::ReturnLate}) {
      gate_.Reset();
      making = how;
      auto* const thread = new Detached([this](LThread&) { gate_.Signal(); });
      if (how == Making::ReturnLate) {  // in two steps
        owner.Add(thread);
        thread->StartDetached(owner, 0);
      } else {
        EXPECT_EQ(owner.StartDetached(thread, 0), how == Making::Usual);
      }
    }
    auto* const elsewhere = new Detached(UntilStopped);
    owner.StartDetached(elsewhere, 0);
    owner.Destruct(elsewhere);
    owner.Destruct(elsewhere);  // not in the list any more
    owner.StartDetached(new Detached([&](LThread& self) {
                          owner.StopThreadsNow();
                          EXPECT_TRUE(self.IsToStop());
                        }),
                        0);
    owner.StartDetached(new Detached(UntilStopped), 0);
    if (repetition % 2 == 0) owner.StopThreadsNow();
    EXPECT_TRUE(repetition % 2 != 0 || Detached::alive == 0);
  }
  // The last one may take the owner with it, from its destructor.
  auto owner = std::make_shared<LDetachedThreadsOwner>();
  for (const auto& held : {owner, std::shared_ptr<LDetachedThreadsOwner>()})
    owner->StartDetached(new Detached([held](LThread&) {}), 0);
  owner.reset();
  while (Detached::alive != 0)
    std::this_thread::yield();
}

// For the thread sanitizer: everything from several sides at once.
TEST_F(ThreadTest, EverythingAtOnce) {
  for (unsigned int repetition = 0; repetition < 10; ++repetition) {
    int runs = 0;
    Worker worker([&](LThread& self) {
      if (++runs % 3 != 0) UntilStopped(self);
    });
    LDetachedThreadsOwner owner;
    const std::function<void()> actions[] = {
        [&] { worker.Start(91); },
        [&] { worker.Start(0); },
        [&] { worker.StopThreadSoon(); },
        [&] { worker.StopThreadNow(); },
        [&] { worker.SetPriority(worker.Priority()); },
        [&] { EXPECT_TRUE(worker.HasRun() || worker.MachThreadId() == -1 || worker.IsRunning()); },
        [&] { owner.StartDetached(new Detached(UntilStopped), 0); },
        [&] { owner.StartDetached(new Detached(Nothing), 91); },
        [&] { owner.StopThreadsSoon(); },
        [&] { owner.StopThreadsNow(); }};
    std::vector<std::jthread> users;
    for (unsigned int user = 0; user < 4; ++user) {
      users.emplace_back([&, user] {
        std::minstd_rand random(4 * repetition + user);
        for (int count = 0; count < 100; ++count)
          actions[random() % std::size(actions)]();
      });
    }
    users.clear();
    worker.StopThreadNow();
    EXPECT_GT(runs, 0);
  }
  EXPECT_EQ(Detached::alive, 0);
  // Nobody else is there to end a run whose stop request a start took back.
  Worker toggled(UntilStopped);
  std::atomic<int> starts = 0;
  const std::jthread starter([&] {
    for (; starts < 500; ++starts)
      toggled.Start(0);
  });
  while (starts < 500)
    toggled.StopThreadNow();
}

}  // namespace
