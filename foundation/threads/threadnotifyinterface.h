// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_THREADNOTIFYINTERFACE_H
#define ZORVEX_FOUNDATION_THREADS_THREADNOTIFYINTERFACE_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/threads/lockobject.h>
#include <zorvex/foundation/threads/processinterface.h>
#include <zorvex/foundation/threads/queuednotify.h>
#include <zorvex/foundation/threads/thread.h>

/// A worker thread whose reports go to a handler as messages, and are replayed on the main thread
/// on a target: a user interface, say, that only the main thread may touch.
///
/// | message | report | data | size | replayed as |
/// |---|---|---|---|---|
/// | 0 | SetError | the text, terminated | its length + 1 | SetError(data), unless that is null |
/// | 1 | SetStatus, line 0 | null | 0 | SetStatus(text of line 0, 0) |
/// | 2 | SetStatus, line 1 | null | 0 | SetStatus(text of line 1, 1) |
/// | 3 | SetProgress | null | percents | SetProgress(size x 0.01) |
/// | 4 | SetProgressIndeterminateOn | null | 0 | SetProgressIndeterminateOn() |
/// | 5 | SetProgressIndeterminateOff | null | 0 | SetProgressIndeterminateOff() |
///
/// Within this library posted messages are discarded (see LThreadRunOnMainThread).
///
/// The destructor of the most derived class begins with StopThreadNow, as for every LThread: the
/// work must be over before what it uses goes, of the derived class and of this one. Where a host
/// posts events to the dispatcher, QueuedNotifyDataHandlerDestroy comes next:
///
///     ~Copier() override {
///       StopThreadNow();
///       QueuedNotifyDataHandlerDestroy();
///     }
///
/// Target and handler are borrowed. They are set while no work is running and no message waits, and
/// live for as long as either may be. Reports are made by the work, or by several threads at once;
/// EvQueuedNotifyData is for the main thread.
class ZORVEX_API LThreadNotifyInterface : public LThread, public LQueuedNotifyDataHandler {
 public:
  /// \param target  null: what would be replayed is dropped
  /// Its reports go to this object's own handler.
  explicit LThreadNotifyInterface(LProcessInterface* target = nullptr)
      : target_(target), handler_(this) {}
  /// \param handler  null: reports are dropped at once. Another object of this class replays them
  /// on
  ///                 its own target, and with its own status texts.
  LThreadNotifyInterface(LProcessInterface* target, LQueuedNotifyDataHandler* handler)
      : target_(target), handler_(handler) {}
  LThreadNotifyInterface(const LThreadNotifyInterface&) = delete;
  LThreadNotifyInterface& operator=(const LThreadNotifyInterface&) = delete;
  ~LThreadNotifyInterface() override;

  void SetTarget(LProcessInterface* target) { target_ = target; }
  void SetHandler(LQueuedNotifyDataHandler* handler) { handler_ = handler; }

  // The reports. Each may throw std::bad_alloc. Texts must not be null.

  void SetError(const char* text) override;
  /// Keeps the text, of which all but 259 bytes are cut; the message does not carry it. Who replays
  /// shows the latest text of the line, however many were reported. Lines other than 0 and 1 are
  /// ignored.
  void SetStatus(const char* text, int line) override;
  /// Whole percents, truncated toward zero: 0.999 arrives as 0.99. Negative fractions deliberately
  /// arrive as huge ones, as the size has no sign. What is no number, or too many percents for 32
  /// bits, arrives as -21474836.48 does.
  void SetProgress(double fraction) override;
  void SetProgressIndeterminateOn() override;
  void SetProgressIndeterminateOff() override;

  /// Replays a message. Others than those above are ignored.
  void EvQueuedNotifyData(unsigned int message, const void* data, unsigned long size) override;

 private:
  enum Message : unsigned int {
    Error,
    StatusLine0,
    StatusLine1,
    Progress,
    ProgressIndeterminateOn,
    ProgressIndeterminateOff,
  };
  static constexpr unsigned long kTextSize = 260;

  void Post(Message message, unsigned long size = 0);
  void ReplayStatus(int line);

  LProcessInterface* target_;
  // Deliberately kept, though nothing here uses it: the fields' order is given.
  [[maybe_unused]] void* unused_ = nullptr;
  LQueuedNotifyDataHandler* handler_;
  LLockObject mutex_;  // guards the texts
  char statusTexts_[2][kTextSize] = {};
};

#endif  // ZORVEX_FOUNDATION_THREADS_THREADNOTIFYINTERFACE_H
