// SPDX-License-Identifier: MIT
#include "foundation/threads/signalobject.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <type_traits>

// A view is two integers, so that it passes in registers; an owner adds nothing to it.
static_assert(std::is_trivially_copyable_v<LSignalObjectRef>);
static_assert(sizeof(LSignalObjectRef) == 2 * sizeof(int));
static_assert(sizeof(LSignalObject) == sizeof(LSignalObjectRef));
static_assert(sizeof(LSignalObjectGroup) ==
              LSignalObjectGroup::Capacity * sizeof(pollfd) + sizeof(std::uint64_t));

namespace {

pollfd ReadableEntry(int descriptor) {
  return {.fd = descriptor, .events = POLLIN, .revents = 0};
}

// The one place where this library's events are waited for.
//
// poll skips negative descriptors; with nothing but those it would sleep for the whole timeout, or
// for ever, for an event that cannot come.
//
// An interrupted poll deliberately counts as "not set" instead of being resumed: a wait is a single
// poll, so that a signal handler ends it. Who must not give up loops over the wait, as
// LLockObjectShared does.
bool PollReadable(pollfd* entries, std::size_t count, unsigned int timeout) {
  const bool anyOpen =
      std::any_of(entries, entries + count, [](const pollfd& entry) { return entry.fd >= 0; });
  if (!anyOpen) return false;
  // A look before the wait: for an event that is set already, the common case, the kernel then
  // queues the caller nowhere, which saves a third of the call. The result is that of the wait.
  if (timeout != 0 && poll(entries, static_cast<nfds_t>(count), 0) > 0) return true;
  return poll(entries, static_cast<nfds_t>(count), static_cast<int>(timeout)) > 0;
}

#ifdef __linux__
// One system call instead of nine, and no moment in which a program that another thread executes
// could inherit the ends.
bool MakePipe(int (&ends)[2]) {
  return pipe2(ends, O_NONBLOCK | O_CLOEXEC) == 0;
}
#else
void AddFlag(int descriptor, int getCommand, int setCommand, int flag) {
  fcntl(descriptor, setCommand, fcntl(descriptor, getCommand) | flag);
}

bool MakePipe(int (&ends)[2]) {
  if (pipe(ends) != 0) return false;
  for (const int end : ends) {
    AddFlag(end, F_GETFL, F_SETFL, O_NONBLOCK);
    AddFlag(end, F_GETFD, F_SETFD, FD_CLOEXEC);
  }
  return true;
}
#endif

}  // namespace

void LSignalObjectRef::Signal() {
  // Non-blocking: a full pipe refuses the byte, and a full pipe is a set event already.
  const unsigned char token = 1;
  [[maybe_unused]] const ssize_t written = write(writeDescriptor_, &token, sizeof token);
}

void LSignalObjectRef::Reset() {
  // In blocks: a pipe gives less than was asked for only when that empties it, so that the usual
  // few bytes cost one system call and a full pipe some fifteen.
  unsigned char block[4096];
  ssize_t got = 0;
  do {
    got = read(readDescriptor_, block, sizeof block);
  } while (got == static_cast<ssize_t>(sizeof block) || (got < 0 && errno == EINTR));
}

bool LSignalObjectRef::IsSignaled() const {
  return WaitSignal(0);
}

bool LSignalObjectRef::WaitSignal(unsigned int timeout) const {
  pollfd entry = ReadableEntry(readDescriptor_);
  return PollReadable(&entry, 1, timeout);
}

bool LSignalObjectRef::WaitSignalDual(LSignalObjectRef other, unsigned int timeout) const {
  pollfd entries[] = {ReadableEntry(readDescriptor_), ReadableEntry(other.readDescriptor_)};
  return PollReadable(entries, std::size(entries), timeout);
}

bool LSignalObjectRef::WaitSignalTriple(LSignalObjectRef second, LSignalObjectRef third,
                                        unsigned int timeout) const {
  pollfd entries[] = {ReadableEntry(readDescriptor_), ReadableEntry(second.readDescriptor_),
                      ReadableEntry(third.readDescriptor_)};
  return PollReadable(entries, std::size(entries), timeout);
}

LSignalObject::LSignalObject() {
  int ends[2];
  if (!MakePipe(ends)) return;
  readDescriptor_ = ends[0];
  writeDescriptor_ = ends[1];
}

LSignalObject::~LSignalObject() {
  close(readDescriptor_);
  close(writeDescriptor_);
}

void LSignalObjectGroup::Add(LSignalObjectRef signal) {
  if (count_ < Capacity) entries_[count_++] = ReadableEntry(signal.ReadDescriptor());
}

void LSignalObjectGroup::Add(LSignalObjectGroup& other) {
  const std::uint64_t added = std::min(other.count_, Capacity - count_);
  std::copy_n(other.entries_.data(), added, entries_.data() + count_);
  count_ += added;
}

bool LSignalObjectGroup::Select(unsigned int timeout) const {
  return PollReadable(entries_.data(), count_, timeout);
}

bool LSignalObjectGroup::IsSignaled() const {
  return Select(0);
}
