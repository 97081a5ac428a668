// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_DETACHEDTHREAD_H
#define ZORVEX_FOUNDATION_THREADS_DETACHEDTHREAD_H

#include <sys/types.h>

#include <atomic>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/lockobject.h>
#include <zorvex/foundation/threads/thread.h>

class LDetachedThreadsOwner;

/// A thread that destroys itself, on itself, when its work ends. Made with new, it belongs to the
/// owner from then on that it is added to, and is started once:
///
///     owner.StartDetached(new Connection(socket), 0);
///
/// Its destructor need not stop it, and runs on the thread itself or, when the owner stops its
/// threads, on the thread that asked for that.
class ZORVEX_API LDetachedThread : public LThread {
 public:
  using LThread::LThread;
  ~LDetachedThread() override;

  /// The second half of LDetachedThreadsOwner::StartDetached, for an object which was added to the
  /// owner before; the object may be gone when this returns. Between the two calls the owner may
  /// stop its threads, and then this would start an object that was destroyed: who cannot rule that
  /// out uses the whole. Otherwise as LThread::Start. A thread that the system cannot make stays
  /// with the owner, unstarted.
  void StartDetached(LDetachedThreadsOwner& owner, int priority);

 protected:
  /// What a new thread begins with; the argument is the LDetachedThread.
  static void* _ThreadCallback(void* thread);

 private:
  friend class LDetachedThreadsOwner;

  LDetachedThread* next_ = nullptr;
  LDetachedThreadsOwner* owner_ = nullptr;
};

/// The detached threads of one part of a program, to stop them all. It outlives them: its
/// destructor stops them and waits (in a forked child, where they do not run, it leaves them
/// alone). So it is not for the work of one of them to destroy it. Any thread may call anything
/// here at any time, but no two of the owned threads may wait in StopThreadsNow at once, for each
/// other.
class ZORVEX_API LDetachedThreadsOwner {
 public:
  LDetachedThreadsOwner() = default;
  ~LDetachedThreadsOwner();
  LDetachedThreadsOwner(const LDetachedThreadsOwner&) = delete;
  LDetachedThreadsOwner& operator=(const LDetachedThreadsOwner&) = delete;

  /// Adds the thread and starts it, with nobody stopping it in between. False when the system can
  /// make no thread; the object is then destroyed.
  bool StartDetached(LDetachedThread* thread, int priority);

  /// Takes over a thread that is not started yet, and belongs to no owner.
  void Add(LDetachedThread* thread);

  /// The end of a thread's run: destroys the thread if it is (still) in the list. Elsewhere than on
  /// the thread itself, stops it first and waits for its work to end.
  void Destruct(LDetachedThread* thread);

  /// Asks all threads to stop; does not wait.
  void StopThreadsSoon();

  /// Asks all threads to stop, waits for their work to end and destroys them, also threads that are
  /// added meanwhile and those that were never started. When it returns, none of the work and none
  /// of the destructors goes on any more. On one of the threads themselves it deals with the others
  /// and only asks that thread to stop; it then does not wait for threads that are already
  /// destroying themselves.
  void StopThreadsNow();

 private:
  friend class LDetachedThread;

  bool Unlink(LDetachedThread* thread);
  LDetachedThread* UnlinkAnother();
  void Destroy(LDetachedThread* thread);
  void WaitForDestructors(int atMost);

  LDetachedThread* head_ = nullptr;
  LLockObject mutex_;
  // Threads that have left the list and are not destroyed yet. Written under the mutex.
  std::atomic<int> leaving_{0};
  // The process that added a thread last.
  std::atomic<pid_t> process_{0};
};

#endif  // ZORVEX_FOUNDATION_THREADS_DETACHEDTHREAD_H
