// SPDX-License-Identifier: MIT
//
// Events and locks beside what a program would use without this library. Machines drift, so compare
// ratios within one run:
//
//   threads_benchmark --benchmark_repetitions=15 --benchmark_enable_random_interleaving=true
//                     --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <thread>

#include <zorvex/foundation.h>

namespace {

// The least an event between threads can be on this platform: one counter in the kernel.
class CounterEvent {
 public:
  CounterEvent() : descriptor_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}
  ~CounterEvent() { close(descriptor_); }
  CounterEvent(const CounterEvent&) = delete;
  CounterEvent& operator=(const CounterEvent&) = delete;

  void Signal() { eventfd_write(descriptor_, 1); }
  void Reset() {
    eventfd_t value = 0;
    eventfd_read(descriptor_, &value);
  }
  bool WaitSignal(unsigned int timeout) const {
    pollfd entry = {.fd = descriptor_, .events = POLLIN, .revents = 0};
    return poll(&entry, 1, static_cast<int>(timeout)) > 0;
  }

 private:
  int descriptor_;
};

// Our event, emptied the obvious way.
class ByteWiseEvent : public LSignalObject {
 public:
  void Reset() {
    char token = 0;
    while (read(ReadDescriptor(), &token, 1) > 0) {
    }
  }
};

class PthreadRecursiveMutex {
 public:
  PthreadRecursiveMutex() {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex_, &attributes);
    pthread_mutexattr_destroy(&attributes);
  }
  ~PthreadRecursiveMutex() { pthread_mutex_destroy(&mutex_); }
  PthreadRecursiveMutex(const PthreadRecursiveMutex&) = delete;
  PthreadRecursiveMutex& operator=(const PthreadRecursiveMutex&) = delete;

  void lock() { pthread_mutex_lock(&mutex_); }
  void unlock() { pthread_mutex_unlock(&mutex_); }

 private:
  pthread_mutex_t mutex_;
};

template <typename Event>
void EventSetWaitReset(benchmark::State& state) {
  Event event;
  for (auto _ : state) {
    event.Signal();
    benchmark::DoNotOptimize(event.WaitSignal(1000));
    event.Reset();
  }
}
BENCHMARK_TEMPLATE(EventSetWaitReset, LSignalObject);
BENCHMARK_TEMPLATE(EventSetWaitReset, ByteWiseEvent);
BENCHMARK_TEMPLATE(EventSetWaitReset, CounterEvent);

template <typename Event>
void EventPollUnset(benchmark::State& state) {
  Event event;
  for (auto _ : state)
    benchmark::DoNotOptimize(event.WaitSignal(0));
}
BENCHMARK_TEMPLATE(EventPollUnset, LSignalObject);
BENCHMARK_TEMPLATE(EventPollUnset, CounterEvent);

template <typename Event>
void EventSetOftenReset(benchmark::State& state) {
  Event event;
  for (auto _ : state) {
    for (int count = 0; count < 100; ++count)
      event.Signal();
    event.Reset();
  }
}
BENCHMARK_TEMPLATE(EventSetOftenReset, LSignalObject);
BENCHMARK_TEMPLATE(EventSetOftenReset, ByteWiseEvent);
BENCHMARK_TEMPLATE(EventSetOftenReset, CounterEvent);

// With two threads all contend for the one lock; the clock then runs for both.
template <typename Lock>
void LockUnlock(benchmark::State& state) {
  static Lock lock;
  static long guarded = 0;
  for (auto _ : state) {
    const std::lock_guard guard(lock);
    benchmark::DoNotOptimize(++guarded);
  }
}
BENCHMARK_TEMPLATE(LockUnlock, LLockObject)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK_TEMPLATE(LockUnlock, std::recursive_mutex)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK_TEMPLATE(LockUnlock, PthreadRecursiveMutex)->Threads(1)->Threads(2)->UseRealTime();

// The inner pair of two: the lock is held already.
template <typename Lock>
void LockNested(benchmark::State& state) {
  Lock lock;
  const std::lock_guard outer(lock);
  for (auto _ : state) {
    const std::lock_guard inner(lock);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_TEMPLATE(LockNested, LLockObject);
BENCHMARK_TEMPLATE(LockNested, std::recursive_mutex);
BENCHMARK_TEMPLATE(LockNested, PthreadRecursiveMutex);

// A thread that has nothing to do, from its start to its end; the clock runs for both sides.
class IdleThread final : public LThread {
 public:
  ~IdleThread() override { StopThreadNow(); }

 private:
  void ThreadFunction() override {}
};

void ThreadRunAgain(benchmark::State& state) {
  IdleThread thread;
  for (auto _ : state) {
    thread.Start(0);
    thread.WaitFinished();
  }
}
BENCHMARK(ThreadRunAgain)->MeasureProcessCPUTime()->UseRealTime();

void ThreadMakeAndRun(benchmark::State& state) {
  for (auto _ : state) {
    IdleThread thread;
    thread.Start(0);
  }
}
BENCHMARK(ThreadMakeAndRun)->MeasureProcessCPUTime()->UseRealTime();

void ThreadMake(benchmark::State& state) {
  for (auto _ : state)
    IdleThread thread;
}
BENCHMARK(ThreadMake);

class IdleDetachedThread final : public LDetachedThread {
  void ThreadFunction() override {}
};

void ThreadDetached(benchmark::State& state) {
  LDetachedThreadsOwner owner;
  for (auto _ : state) {
    owner.StartDetached(new IdleDetachedThread, 0);
    owner.StopThreadsNow();
  }
}
BENCHMARK(ThreadDetached)->MeasureProcessCPUTime()->UseRealTime();

void ThreadStandard(benchmark::State& state) {
  for (auto _ : state)
    std::thread([] {}).join();
}
BENCHMARK(ThreadStandard)->MeasureProcessCPUTime()->UseRealTime();

// As ours: the starter goes on when the thread has begun, and the thread can be asked to stop.
void ThreadStandardBegun(benchmark::State& state) {
  for (auto _ : state) {
    std::atomic<bool> begun = false;
    std::jthread thread([&](const std::stop_token&) {
      begun = true;
      begun.notify_one();
    });
    begun.wait(false);
  }
}
BENCHMARK(ThreadStandardBegun)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
