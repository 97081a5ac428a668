// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_THREAD_H
#define ZORVEX_FOUNDATION_THREADS_THREAD_H

#include <pthread.h>
#include <sys/types.h>

#include <atomic>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/lockobject.h>
#include <zorvex/foundation/threads/processinterface.h>
#include <zorvex/foundation/threads/signalobject.h>

/// A worker thread. Derive from it and write the work as ThreadFunction:
///
///     class Copier : public LThread {
///      public:
///       ~Copier() override { StopThreadNow(); }
///      private:
///       void ThreadFunction() override {
///         while (!IsToStop() && CopyNext(*this)) {}
///       }
///     };
///
/// The work asks IsToStop and waits with the ProcessWait functions, which all wake up when somebody
/// asks the thread to stop. It hands itself on, as an LProcessInterface, to the long operations it
/// calls. It must let no exception out; that ends the program.
///
/// An object runs its work any number of times, one run after the other. Destroying it asks a run
/// to stop and blocks until the work has returned, so the work must heed IsToStop. By then the
/// members of the derived class are gone: unless the work is known to be over, the destructor of
/// the most derived class must begin with StopThreadNow, as above. Neither is for the thread
/// itself, which would wait for itself.
///
/// Start, the Stop functions, WaitFinished, SetPriority and the questions may be called from any
/// thread at any time while the object lives. The waits are for the thread itself; they work
/// elsewhere too.
///
/// Six descriptors belong to each object. One that was made when the process had none left never
/// starts a thread.
///
/// In a forked child, where threads do not run on, an inherited object that was started may only be
/// destroyed. That leaves the parent's thread alone and waits for nothing.
class ZORVEX_API LThread : public LProcessInterface {
 public:
  LThread() = default;
  /// The name is accepted and deliberately not kept: threads have no names here.
  explicit LThread([[maybe_unused]] const char* name) {}
  LThread(const LThread&) = delete;
  LThread& operator=(const LThread&) = delete;

  bool IsToStop() override;
  int ProcessWait(unsigned int timeout) override;
  /// A stop request wins over the event.
  int ProcessWaitSignal(LSignalObjectRef signal, unsigned int timeout) override;
  /// Deliberately appends the stop event to the caller's group each time and leaves it there. In a
  /// group that is full already, the caller's last event stands in its place: 1 then means that
  /// that one is set, and a stop request is not seen.
  int ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int timeout) override;

  virtual ~LThread();

  /// Begins a run and returns when the thread has begun to work, with the priority in effect (see
  /// SetPriority); or earlier, when a stop is requested meanwhile, and then without the priority.
  /// Takes back earlier stop requests. Ignored while a run is going on, also from the work itself.
  /// When the system can make no thread nothing is reported; HasRun tells.
  void Start(int priority);

  /// Changes the priority of the run that is going on; nothing when there is none.
  ///
  /// 91 asks for real-time scheduling: before all normal threads, in turns with its like, and not
  /// passed on to what the thread starts. Users need leave for it (RLIMIT_RTPRIO of 5 or more).
  /// Every other value, and 91 without leave, is handed as it is to the scheduler's normal class.
  /// On Linux that knows only 0: it makes a real-time thread normal again, and other values change
  /// nothing.
  void SetPriority(int priority);

  /// Asks the run to stop; does not wait. The request stays until the next Start.
  void StopThreadSoon();
  /// Blocks until no run is going on: the work has returned, and what it wrote can be read.
  /// Returns at once when nothing runs. What others start again after that may be going on by then.
  void WaitFinished();
  /// StopThreadSoon and WaitFinished, with no Start in between that takes the request back.
  void StopThreadNow();

  /// Whether the last Start made a thread, be it over by now.
  [[nodiscard]] bool HasRun() const { return runProcess_ != 0; }
  /// True from Start until the work has returned, and also after a Start that could make no thread.
  [[nodiscard]] bool IsRunning() const { return running_; }
  /// The value last given to Start.
  [[nodiscard]] int Priority() const { return priority_; }
  /// The number under which the system lists the thread (`ps -L`), -1 while none runs.
  [[nodiscard]] int MachThreadId() const { return machThreadId_; }

 protected:
  /// The work, on the thread. May end by pthread_exit.
  virtual void ThreadFunction() = 0;

  /// What a new thread begins with; the argument is the LThread.
  static void* _ThreadCallback(void* thread);
  /// One run, except for the finished event.
  void ThreadCallback();

 private:
  friend class LDetachedThread;
  friend class LDetachedThreadsOwner;

  bool HasThread();
  [[nodiscard]] bool IsFromParentProcess() const;
  void WaitForEnd(bool asksToStop);
  void Launch(void* (*entry)(void*));
  bool CreateThread(void* (*entry)(void*));
  void EndWork();

  pthread_t handle_{};  // under handleLock_
  std::atomic<int> machThreadId_{-1};
  std::atomic<int> priority_{0};
  std::atomic<bool> running_{false};
  LSignalObject stop_;
  LSignalObject finished_;
  LSignalObject started_;
  LLockObject startLock_;
  // Guards the handle, so that it is used only while the thread has not ended. Held for single
  // calls, never for a wait.
  LLockObject handleLock_;
  // The process in which the last Start made a thread, 0 when it made none. While it is this
  // process, the finished event has been set or will be.
  std::atomic<pid_t> runProcess_{0};
  // How many wait for the finished event. Goes up under startLock_ only.
  std::atomic<int> waiting_{0};
};

#endif  // ZORVEX_FOUNDATION_THREADS_THREAD_H
