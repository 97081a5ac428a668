// SPDX-License-Identifier: MIT
#include "foundation/threads/thread.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "foundation/threads/systemthread.h"

namespace {

// The awaited event and the stop event in one poll.
int WaitBesideStop(LSignalObjectRef signal, LSignalObjectRef stop, unsigned int timeout) {
  LSignalObjectGroup group;
  group.Add(signal);
  group.Add(stop);
  if (!group.Select(timeout)) return 2;
  return (group.ReturnedEvents(1) & POLLIN) != 0 ? 1 : 0;
}

// For a process that may not poll, its limit of descriptors having sunk to none. Reading still
// works.
bool IsSetByReading(LSignalObjectRef event) {
  char token = 0;
  if (read(event.ReadDescriptor(), &token, 1) != 1) return false;
  event.Signal();
  return true;
}

}  // namespace

bool LThread::IsToStop() {
  return stop_.IsSignaled();
}

int LThread::ProcessWait(unsigned int timeout) {
  return stop_.WaitSignal(timeout) ? 1 : 0;
}

int LThread::ProcessWaitSignal(LSignalObjectRef signal, unsigned int timeout) {
  return WaitBesideStop(signal, stop_, timeout);
}

int LThread::ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int timeout) {
  group.Add(stop_);
  if (!group.Select(timeout)) return 2;
  return (group.ReturnedEvents(group.Count() - 1) & POLLIN) != 0 ? 1 : 0;
}

// The thread detaches itself and is never joined. What tells that it is through with the object is
// the finished event, the last thing that it touches here.
LThread::~LThread() {
  if (!HasRun() || IsFromParentProcess()) return;
  StopThreadNow();
  // Orders the thread's write to the event before the close, for tools that cannot see that the
  // poll did.
  finished_.Reset();
}

void LThread::Start(int priority) {
  const LLockObjectGuard guard(startLock_);
  if (HasThread()) return;
  // The former run may be about to set its finished event, which must not happen in the new run,
  // and those who wait for it must see it before it is reset.
  WaitFinished();
  for (int waiting = waiting_; waiting > 0; waiting = waiting_)
    waiting_.wait(waiting);
  priority_ = priority;
  Launch(&LThread::_ThreadCallback);
}

void LThread::SetPriority(int priority) {
  const LLockObjectGuard guard(handleLock_);
  if (handle_ != pthread_t{}) LSystemThreadSetPriority(handle_, priority);
}

void LThread::StopThreadSoon() {
  stop_.Signal();
}

void LThread::WaitFinished() {
  WaitForEnd(false);
}

void LThread::StopThreadNow() {
  WaitForEnd(true);
}

void* LThread::_ThreadCallback(void* thread) {
  struct Run {
    ~Run() { thread->finished_.Signal(); }
    LThread* thread;
  } const run{static_cast<LThread*>(thread)};
  run.thread->ThreadCallback();
  return nullptr;
}

void LThread::ThreadCallback() {
  // In a destructor, for work that ends by pthread_exit.
  struct Work {
    ~Work() { thread->EndWork(); }
    LThread* thread;
  } const work{this};
  machThreadId_ = LSystemThreadId();
  started_.Signal();
  ThreadFunction();
}

bool LThread::HasThread() {
  const LLockObjectGuard guard(handleLock_);
  return handle_ != pthread_t{};
}

// A forked child shares the events, and would stop the parent's thread with them.
bool LThread::IsFromParentProcess() const {
  const pid_t process = runProcess_;
  return process != 0 && process != getpid();
}

void LThread::WaitForEnd(bool asksToStop) {
  if (IsFromParentProcess()) return;
  {
    // Not in the middle of a Start. That would take the request back; and the work may be over
    // before the Start that began it: who now destroys the object must not do so under that call.
    const LLockObjectGuard noStart(startLock_);
    if (asksToStop) StopThreadSoon();
    if (!HasRun()) return;
    ++waiting_;
  }
  // A signal handler that ran on this thread must not make us believe that the run is over.
  while (!finished_.WaitSignal(LSignalWaitForever)) {
    if (errno == EINTR) continue;
    if (IsSetByReading(finished_)) break;
    usleep(1000);
  }
  // Makes visible what the work wrote; the poll does so only in fact, not by the rules of C++.
  static_cast<void>(running_.load(std::memory_order_acquire));
  --waiting_;
  waiting_.notify_all();
}

void LThread::Launch(void* (*entry)(void*)) {
  stop_.Reset();
  finished_.Reset();
  started_.Reset();
  running_ = true;
  if (!CreateThread(entry)) return;
  int waited = ProcessWaitSignalForever(started_);
  // A signal handler ran on this thread.
  while (waited == 2 && errno == EINTR)
    waited = LThread::ProcessWaitSignal(started_, LSignalWaitForever);
  if (waited == 0) SetPriority(priority_);  // nothing, if the work is over already
}

bool LThread::CreateThread(void* (*entry)(void*)) {
  // Without its events a thread could be neither stopped nor waited for.
  for (const LSignalObject* event : {&stop_, &finished_, &started_}) {
    if (event->ReadDescriptor() < 0) return false;
  }
  {
    // The new thread cannot end its work before its handle is stored.
    const LLockObjectGuard guard(handleLock_);
    runProcess_ = getpid();
    if (pthread_create(&handle_, nullptr, entry, this) == 0) return true;
    handle_ = pthread_t{};
    runProcess_ = 0;
  }
  // For who saw the run in its short time and waits for its end.
  finished_.Signal();
  return false;
}

void LThread::EndWork() {
  const LLockObjectGuard guard(handleLock_);
  pthread_detach(pthread_self());
  running_ = false;
  handle_ = pthread_t{};
  machThreadId_ = -1;
}
