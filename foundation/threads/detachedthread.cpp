// SPDX-License-Identifier: MIT
#include "foundation/threads/detachedthread.h"

#include <unistd.h>

namespace {

// The detached thread that we are on, and its owner, while they exist.
thread_local LDetachedThread* currentThread = nullptr;
thread_local LDetachedThreadsOwner* currentOwner = nullptr;

}  // namespace

LDetachedThread::~LDetachedThread() = default;

// The owner's mutex, held throughout, keeps the object alive until this call is through with it:
// neither can the thread destroy itself without it, nor anybody else.
void LDetachedThread::StartDetached(LDetachedThreadsOwner& owner, int priority) {
  const LLockObjectGuard guard(owner.mutex_);
  if (HasThread()) return;
  owner_ = &owner;
  priority_ = priority;
  Launch(&LDetachedThread::_ThreadCallback);
}

void* LDetachedThread::_ThreadCallback(void* thread) {
  // In a destructor, for work that ends by pthread_exit.
  struct Run {
    ~Run() {
      currentOwner->Destruct(currentThread);
      currentThread = nullptr;
      currentOwner = nullptr;
    }
  } const run;
  currentThread = static_cast<LDetachedThread*>(static_cast<LThread*>(thread));
  currentOwner = currentThread->owner_;
  currentThread->ThreadCallback();
  return nullptr;
}

LDetachedThreadsOwner::~LDetachedThreadsOwner() {
  // Nothing was ever added, or it was by the process of which we are a forked child.
  if (process_ != getpid()) return;
  StopThreadsNow();
  const bool inDestructorOfOwn = currentOwner == this;
  WaitForDestructors(inDestructorOfOwn ? 1 : 0);
  if (inDestructorOfOwn) currentOwner = nullptr;
}

bool LDetachedThreadsOwner::StartDetached(LDetachedThread* thread, int priority) {
  {
    const LLockObjectGuard guard(mutex_);
    Add(thread);
    thread->StartDetached(*this, priority);
    if (thread->HasRun()) return true;
    Unlink(thread);
  }
  Destroy(thread);
  return false;
}

void LDetachedThreadsOwner::Add(LDetachedThread* thread) {
  const LLockObjectGuard guard(mutex_);
  process_ = getpid();
  thread->next_ = head_;
  head_ = thread;
}

// A thread that is not in the list any more belongs to a StopThreadsNow that waits for its finished
// event: once that is set, neither the thread nor this owner may be touched.
void LDetachedThreadsOwner::Destruct(LDetachedThread* thread) {
  const bool onItself = thread == currentThread;
  const bool isOurs = Unlink(thread);
  if (onItself) thread->finished_.Signal();
  if (!isOurs) return;
  if (!onItself) thread->StopThreadNow();
  Destroy(thread);
}

void LDetachedThreadsOwner::StopThreadsSoon() {
  const LLockObjectGuard guard(mutex_);
  for (LDetachedThread* thread = head_; thread != nullptr; thread = thread->next_)
    thread->StopThreadSoon();
}

void LDetachedThreadsOwner::StopThreadsNow() {
  StopThreadsSoon();
  while (LDetachedThread* const thread = UnlinkAnother()) {
    thread->StopThreadNow();
    Destroy(thread);
  }
  if (currentOwner != this) WaitForDestructors(0);
}

bool LDetachedThreadsOwner::Unlink(LDetachedThread* thread) {
  const LLockObjectGuard guard(mutex_);
  LDetachedThread** link = &head_;
  while (*link != nullptr && *link != thread)
    link = &(*link)->next_;
  if (*link == nullptr) return false;
  *link = thread->next_;
  leaving_.fetch_add(1, std::memory_order_relaxed);
  return true;
}

LDetachedThread* LDetachedThreadsOwner::UnlinkAnother() {
  const LLockObjectGuard guard(mutex_);
  LDetachedThread* thread = head_;
  if (thread != nullptr && thread == currentThread) thread = thread->next_;
  if (thread != nullptr) Unlink(thread);
  return thread;
}

// The destructor of a derived class may destroy this owner, if it runs on the thread itself.
void LDetachedThreadsOwner::Destroy(LDetachedThread* thread) {
  const bool onItself = thread == currentThread;
  delete thread;
  if (onItself && currentOwner != this) return;
  const LLockObjectGuard guard(mutex_);
  leaving_.fetch_sub(1, std::memory_order_release);
  leaving_.notify_all();
}

void LDetachedThreadsOwner::WaitForDestructors(int atMost) {
  mutex_.Lock();
  for (int leaving = leaving_; leaving > atMost; leaving = leaving_) {
    mutex_.Unlock();
    leaving_.wait(leaving);
    mutex_.Lock();
  }
  mutex_.Unlock();
}
