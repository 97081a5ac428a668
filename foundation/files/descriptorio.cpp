// SPDX-License-Identifier: MIT
#include "foundation/files/descriptorio.h"

#include <pthread.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

namespace {

template <typename Call>
ssize_t UninterruptedBySignals(Call call) {
  ssize_t moved = 0;
  do {
    moved = call();
  } while (moved < 0 && errno == EINTR);
  return moved;
}

// A bit for each descriptor below 1024. A mark outlives a descriptor that somebody else closed, as
// callers of OpenPipe do: what gets its number next raises no SIGPIPE either.
std::atomic<std::uint64_t> pipesToChildren[16];
constexpr unsigned int kMarkedDescriptors = 1024;

bool IsPipeToChild(int descriptor) {
  const auto index = static_cast<unsigned int>(descriptor);
  // Further ones may be anything: better no signal from a pipe that should raise one than a process
  // that dies of a child's end.
  if (index >= kMarkedDescriptors) return true;
  return (pipesToChildren[index / 64].load(std::memory_order_relaxed) >> (index % 64) & 1) != 0;
}

// Keeps SIGPIPE from the calling thread.
class BrokenPipeGuard {
 public:
  BrokenPipeGuard() {
    sigemptyset(&brokenPipe_);
    sigaddset(&brokenPipe_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe_, &before_);
    // One that was pending before is not ours to take back.
    wasPending_ = sigismember(&before_, SIGPIPE) == 1 && IsPending();
  }
  ~BrokenPipeGuard() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BrokenPipeGuard(const BrokenPipeGuard&) = delete;
  BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

  /// After a write that moved less than it should. Not every such write raised the signal, and none
  /// does where the process ignores it.
  void TakeSignalBack() const {
    const int error = errno;
    const timespec now = {.tv_sec = 0, .tv_nsec = 0};
    while (!wasPending_ && IsPending() && sigtimedwait(&brokenPipe_, nullptr, &now) < 0) {
    }
    errno = error;
  }

 private:
  static bool IsPending() {
    sigset_t pending;
    return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
  }

  sigset_t brokenPipe_;
  sigset_t before_;
  bool wasPending_;
};

template <typename Call>
ssize_t WriteGuarded(int descriptor, std::size_t count, Call call) {
  if (descriptor == -1) return 0;
  if (!IsPipeToChild(descriptor)) return UninterruptedBySignals(call);
  const BrokenPipeGuard guard;
  const ssize_t written = UninterruptedBySignals(call);
  // Not only after EPIPE: when the reader goes in the middle of a write, the system gives what was
  // written until then, and raises the signal all the same.
  if (written < static_cast<ssize_t>(count)) guard.TakeSignalBack();
  return written;
}

}  // namespace

void MarkPipeToChild(int descriptor, bool isPipeToChild) {
  const auto index = static_cast<unsigned int>(descriptor);
  if (index >= kMarkedDescriptors) return;
  const std::uint64_t bit = std::uint64_t{1} << (index % 64);
  isPipeToChild ? pipesToChildren[index / 64].fetch_or(bit)
                : pipesToChildren[index / 64].fetch_and(~bit);
}

ssize_t ReadOnce(int descriptor, void* dest, std::size_t count) {
  if (descriptor == -1) return 0;
  return UninterruptedBySignals([&] { return read(descriptor, dest, count); });
}

ssize_t ReadOnceAt(int descriptor, void* dest, std::size_t count, off_t offset) {
  if (descriptor == -1) return 0;
  return UninterruptedBySignals([&] { return pread(descriptor, dest, count, offset); });
}

ssize_t WriteOnce(int descriptor, const void* bytes, std::size_t count) {
  return WriteGuarded(descriptor, count, [&] { return write(descriptor, bytes, count); });
}

ssize_t WritePartsOnce(int descriptor, const iovec* parts, int partCount) {
  std::size_t count = 0;
  for (int part = 0; part < partCount; ++part)
    count += parts[part].iov_len;
  return WriteGuarded(descriptor, count, [&] { return writev(descriptor, parts, partCount); });
}
