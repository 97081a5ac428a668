// SPDX-License-Identifier: MIT
#include "foundation/threads/processinterface.h"

#include <time.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace {

class FormattedText {
 public:
  FormattedText(const char* format, va_list arguments) {
    // A format that fails (an invalid wide character) leaves what came before it.
    text_[0] = '\0';
    vsnprintf(text_, sizeof text_, format, arguments);
  }
  [[nodiscard]] const char* Get() const { return text_; }

 private:
  char text_[8192];
};

}  // namespace

int LProcessInterface::ProcessWaitUntilStopped() {
  return ProcessWait(LSignalWaitForever);
}

int LProcessInterface::ProcessWaitSignalForever(LSignalObjectRef signal) {
  return ProcessWaitSignal(signal, LSignalWaitForever);
}

int LProcessInterface::ProcessWaitSignalObjectGroupForever(LSignalObjectGroup& group) {
  return ProcessWaitSignalObjectGroup(group, LSignalWaitForever);
}

void LProcessInterface::SetError(const char*) {}
void LProcessInterface::SetStatus(const char*, int) {}
void LProcessInterface::SetProgress(double) {}
void LProcessInterface::SetProgressIndeterminateOn() {}
void LProcessInterface::SetProgressIndeterminateOff() {}

void LProcessInterface::SetErrorF(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const FormattedText text(format, arguments);
  va_end(arguments);
  SetError(text.Get());
}

void LProcessInterface::SetStatusF(int line, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const FormattedText text(format, arguments);
  va_end(arguments);
  SetStatus(text.Get(), line);
}

bool LProcessInterfaceVoid::IsToStop() {
  return false;
}

int LProcessInterfaceVoid::ProcessWait(unsigned int timeout) {
  timespec remaining = {.tv_sec = timeout / 1000, .tv_nsec = timeout % 1000 * 1'000'000L};
  while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
  }
  return 0;
}

int LProcessInterfaceVoid::ProcessWaitSignal(LSignalObjectRef signal, unsigned int timeout) {
  return signal.WaitSignal(timeout) ? 0 : 2;
}

int LProcessInterfaceVoid::ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                        unsigned int timeout) {
  return group.Select(timeout) ? 0 : 2;
}

bool LProcessInterfaceNested::IsToStop() {
  return parent_->IsToStop();
}

int LProcessInterfaceNested::ProcessWait(unsigned int timeout) {
  return parent_->ProcessWait(timeout);
}

int LProcessInterfaceNested::ProcessWaitSignal(LSignalObjectRef signal, unsigned int timeout) {
  return parent_->ProcessWaitSignal(signal, timeout);
}

int LProcessInterfaceNested::ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                          unsigned int timeout) {
  return parent_->ProcessWaitSignalObjectGroup(group, timeout);
}

int LProcessInterfaceNested::ProcessWaitUntilStopped() {
  return parent_->ProcessWaitUntilStopped();
}

int LProcessInterfaceNested::ProcessWaitSignalForever(LSignalObjectRef signal) {
  return parent_->ProcessWaitSignalForever(signal);
}

int LProcessInterfaceNested::ProcessWaitSignalObjectGroupForever(LSignalObjectGroup& group) {
  return parent_->ProcessWaitSignalObjectGroupForever(group);
}

void LProcessInterfaceNested::SetError(const char* text) {
  parent_->SetError(text);
}

void LProcessInterfaceNested::SetStatus(const char* text, int line) {
  parent_->SetStatus(text, line);
}

void LProcessInterfaceNested::SetProgress(double fraction) {
  parent_->SetProgress(fraction);
}

void LProcessInterfaceNested::SetProgressIndeterminateOn() {
  parent_->SetProgressIndeterminateOn();
}

void LProcessInterfaceNested::SetProgressIndeterminateOff() {
  parent_->SetProgressIndeterminateOff();
}

void LProcessInterfaceSubProcess::SetStatus(const char* text, int line) {
  Parent().SetStatus(text, line + 1);
}

void LProcessInterfaceSubProcess::SetProgress(double fraction) {
  Parent().SetProgress(fraction * span_ + start_);
}

void LProcessInterfaceSubProcess::SetProgressIndeterminateOn() {}
void LProcessInterfaceSubProcess::SetProgressIndeterminateOff() {}
