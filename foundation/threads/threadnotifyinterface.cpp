// SPDX-License-Identifier: MIT
#include "foundation/threads/threadnotifyinterface.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

/// Truncated toward zero to a signed 32-bit number, with its sign carried into all 64 bits.
unsigned long PercentsOf(double fraction) {
  using Limits = std::numeric_limits<std::int32_t>;
  const double percents = fraction * 100;
  // Outside its range the conversion would be undefined; this is what processors make of it.
  const bool fits = percents > Limits::min() - 1.0 && percents < Limits::max() + 1.0;
  const std::int32_t whole = fits ? static_cast<std::int32_t>(percents) : Limits::min();
  return static_cast<unsigned long>(static_cast<std::int64_t>(whole));
}

}  // namespace

// Begins with the wait although derived classes have to: by now the text mutex is still there, and
// the work's reports are safe. After it go, in this order, the mutex, the handler and the thread.
LThreadNotifyInterface::~LThreadNotifyInterface() {
  StopThreadNow();
}

void LThreadNotifyInterface::SetError(const char* text) {
  if (handler_ != nullptr) handler_->PostNotifyFromSender(Error, text, std::strlen(text) + 1);
}

void LThreadNotifyInterface::SetStatus(const char* text, int line) {
  if (handler_ == nullptr || line < 0 || line > 1) return;
  {
    const LLockObjectGuard guard(mutex_);
    char* const kept = statusTexts_[line];
    const std::size_t length = ::strnlen(text, kTextSize - 1);
    std::memcpy(kept, text, length);
    kept[length] = '\0';
  }
  Post(line == 0 ? StatusLine0 : StatusLine1);
}

void LThreadNotifyInterface::SetProgress(double fraction) {
  Post(Progress, PercentsOf(fraction));
}

void LThreadNotifyInterface::SetProgressIndeterminateOn() {
  Post(ProgressIndeterminateOn);
}

void LThreadNotifyInterface::SetProgressIndeterminateOff() {
  Post(ProgressIndeterminateOff);
}

void LThreadNotifyInterface::EvQueuedNotifyData(unsigned int message, const void* data,
                                                unsigned long size) {
  if (target_ == nullptr) return;
  switch (message) {
    case Error:
      if (data != nullptr) target_->SetError(static_cast<const char*>(data));
      break;
    case StatusLine0:
      ReplayStatus(0);
      break;
    case StatusLine1:
      ReplayStatus(1);
      break;
    case Progress:
      target_->SetProgress(static_cast<double>(size) * 0.01);
      break;
    case ProgressIndeterminateOn:
      target_->SetProgressIndeterminateOn();
      break;
    case ProgressIndeterminateOff:
      target_->SetProgressIndeterminateOff();
      break;
    default:
      break;
  }
}

void LThreadNotifyInterface::Post(Message message, unsigned long size) {
  if (handler_ != nullptr) handler_->PostNotifyFromSender(message, nullptr, size);
}

// From a copy: the target may take its time, and the work goes on reporting.
void LThreadNotifyInterface::ReplayStatus(int line) {
  char text[kTextSize];
  {
    const LLockObjectGuard guard(mutex_);
    std::copy_n(statusTexts_[line], kTextSize, text);
  }
  target_->SetStatus(text, line);
}
