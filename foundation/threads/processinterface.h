// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_PROCESSINTERFACE_H
#define ZORVEX_FOUNDATION_THREADS_PROCESSINTERFACE_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/signalobject.h>

/// How a long operation learns whether it should stop, waits, and tells how it goes. It gets one by
/// reference and does not ask what stands behind it: a worker thread (LThread), nobody
/// (LProcessInterfaceVoid), or another operation of which it is a part (LProcessInterfaceNested,
/// LProcessInterfaceSubProcess).
///
/// An operation that was asked to stop leaves off early. One that fails says so with SetError.
///
/// Timeouts are in milliseconds; 4294967295 (LSignalWaitForever) is no limit. A signal handler that
/// runs on the waiting thread may end a wait early, as if its time were over.
///
/// The order of the virtual functions is part of the interface. There is no virtual destructor:
/// nobody deletes an operation's interface through this class.
///
/// One thread at a time uses an interface, unless what stands behind it says more.
class ZORVEX_API LProcessInterface {
 public:
  /// Whether a stop was requested; stays true from then on.
  virtual bool IsToStop() = 0;
  /// Waits for a stop request. 1 when a stop was requested, or becomes so in time; else 0.
  virtual int ProcessWait(unsigned int timeout) = 0;
  /// Waits for an event. 0 when it is set, or becomes so in time; 1 when a stop was requested, also
  /// if the event is set as well; 2 when the time is over or the wait failed.
  virtual int ProcessWaitSignal(LSignalObjectRef signal, unsigned int timeout) = 0;
  /// Waits for one of several events; the result is that of ProcessWaitSignal. An implementation
  /// may append an event of its own to the group, and leave it there.
  virtual int ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int timeout) = 0;
  /// The three waits without a limit. Here they call the three above, so that a class which
  /// overrides those need not override these.
  virtual int ProcessWaitUntilStopped();
  /// As ProcessWaitSignal.
  virtual int ProcessWaitSignalForever(LSignalObjectRef signal);
  /// As ProcessWaitSignalObjectGroup.
  virtual int ProcessWaitSignalObjectGroupForever(LSignalObjectGroup& group);
  /// The reports do nothing here. Texts are UTF-8, not null, and borrowed for the call.
  virtual void SetError(const char* text);
  /// Shows what is being done. Operations use the lines 0 and 1.
  virtual void SetStatus(const char* text, int line);
  /// How much is done, from 0.0 to 1.0.
  virtual void SetProgress(double fraction);
  /// Whether it is unknown for now how much is done.
  virtual void SetProgressIndeterminateOn();
  /// From now on it is known again.
  virtual void SetProgressIndeterminateOff();

  /// SetError and SetStatus with a text made as by printf. What is longer than 8191 bytes is cut,
  /// wherever that falls. Mind the order of the arguments of SetStatusF: the line comes first.
  void SetErrorF(const char* format, ...) __attribute__((format(printf, 2, 3)));
  /// As SetErrorF, for SetStatus.
  void SetStatusF(int line, const char* format, ...) __attribute__((format(printf, 3, 4)));

 protected:
  ~LProcessInterface() = default;
};

// The classes from here on may be made as they are and may be derived from, and yet have no virtual
// destructor, in line with the interface's fixed order of functions.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// For code that nobody stops and nobody watches: never asked to stop, and its reports go nowhere.
/// Has no state; any number of threads may use one.
class ZORVEX_API LProcessInterfaceVoid : public LProcessInterface {
 public:
  /// False.
  bool IsToStop() override;
  /// Sleeps the whole time, also when signal handlers run, and gives 0. Here 4294967295 is
  /// deliberately no exception: ProcessWaitUntilStopped sleeps for 49.7 days.
  int ProcessWait(unsigned int timeout) override;
  /// 0 or 2, with one wait for the event as LSignalObjectRef describes it.
  int ProcessWaitSignal(LSignalObjectRef signal, unsigned int timeout) override;
  /// 0 or 2; the group stays as it is.
  int ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int timeout) override;
};

/// Hands everything to a parent, which it borrows. For classes that change some of it.
class ZORVEX_API LProcessInterfaceNested : public LProcessInterface {
 public:
  explicit LProcessInterfaceNested(LProcessInterface& parent) : parent_(&parent) {}
  /// A parent that is itself nested, too, is nested in and not copied.
  explicit LProcessInterfaceNested(LProcessInterfaceNested& parent) : parent_(&parent) {}
  LProcessInterfaceNested(const LProcessInterfaceNested&) = delete;
  LProcessInterfaceNested& operator=(const LProcessInterfaceNested&) = delete;

  bool IsToStop() override;
  int ProcessWait(unsigned int timeout) override;
  int ProcessWaitSignal(LSignalObjectRef signal, unsigned int timeout) override;
  int ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int timeout) override;
  /// The parent's own waits without a limit, which may be other than its waits with one.
  int ProcessWaitUntilStopped() override;
  /// The parent's own.
  int ProcessWaitSignalForever(LSignalObjectRef signal) override;
  /// The parent's own.
  int ProcessWaitSignalObjectGroupForever(LSignalObjectGroup& group) override;
  void SetError(const char* text) override;
  void SetStatus(const char* text, int line) override;
  void SetProgress(double fraction) override;
  void SetProgressIndeterminateOn() override;
  void SetProgressIndeterminateOff() override;

 protected:
  [[nodiscard]] LProcessInterface& Parent() const { return *parent_; }

 private:
  LProcessInterface* parent_;
};

/// For a part of an operation. The part's progress from 0 to 1 is the parent's from start to
/// start + span; its status lines are the parent's next ones (line 0 is shown on the parent's
/// line 1). Whether progress is indeterminate stays the parent's own affair.
///
///     LProcessInterfaceSubProcess part(process, 0.0, 1.0 / count);
///     for (...; part.Advance()) Copy(part, ...);
class ZORVEX_API LProcessInterfaceSubProcess : public LProcessInterfaceNested {
 public:
  /// start and span are fractions of the parent's progress.
  LProcessInterfaceSubProcess(LProcessInterface& parent, double start, double span)
      : LProcessInterfaceNested(parent), start_(start), span_(span) {}
  LProcessInterfaceSubProcess(const LProcessInterfaceSubProcess&) = delete;
  LProcessInterfaceSubProcess& operator=(const LProcessInterfaceSubProcess&) = delete;

  /// Goes on to the next part of the same span: start grows by span. Reports nothing.
  void Advance() { start_ += span_; }

  void SetStatus(const char* text, int line) override;
  void SetProgress(double fraction) override;
  /// Ignored.
  void SetProgressIndeterminateOn() override;
  void SetProgressIndeterminateOff() override;

 private:
  double start_;
  double span_;
};

#pragma GCC diagnostic pop

#endif  // ZORVEX_FOUNDATION_THREADS_PROCESSINTERFACE_H
