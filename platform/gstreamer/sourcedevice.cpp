// SPDX-License-Identifier: MIT
#include "platform/gstreamer/sourcedevice.h"

#include <chrono>
#include <memory>
#include <utility>

#include "platform/boundedcall.h"

namespace {

using std::chrono::milliseconds;

/// What a camera that works needs at most to open; slow ones take three seconds.
constexpr milliseconds kOpenLimit{5000};
constexpr milliseconds kCloseLimit{2000};
/// How long a start waits for the source of the run before to come to its end, which goes on in the
/// background after a stop from inside a callback.
constexpr milliseconds kStreamEndLimit{2000};

}  // namespace

bool SourceDevice::Open() {
  {
    const std::lock_guard lock(mutex_);
    if (open_) return true;
    if (opening_) return false;  // another thread's call, or one that the device still holds up
    opening_ = true;
  }
  enum class Outcome { Pending, Opened, Failed, Abandoned };
  const auto outcome = std::make_shared<std::atomic<Outcome>>(Outcome::Pending);
  const BoundedCall call = RunBounded(kOpenLimit, [self = Retained<SourceDevice>(this), outcome] {
    const bool opened = self->OpenDevice();
    Outcome expected = Outcome::Pending;
    if (outcome->compare_exchange_strong(expected, opened ? Outcome::Opened : Outcome::Failed)) {
      return;
    }
    if (opened) self->CloseDevice();  // too late: nobody waits any more
    const std::lock_guard lock(self->mutex_);
    self->opening_ = false;
  });
  Outcome expected = Outcome::Pending;
  if (call == BoundedCall::Late && outcome->compare_exchange_strong(expected, Outcome::Abandoned)) {
    return false;
  }
  const std::lock_guard lock(mutex_);
  opening_ = false;
  open_ = *outcome == Outcome::Opened;
  return open_;
}

void SourceDevice::Close() {
  std::function<void()> onClose;
  {
    const std::lock_guard lock(mutex_);
    if (!open_) return;
    open_ = false;
    opening_ = true;  // until the device is back, it cannot be opened
    onClose = std::exchange(onClose_, nullptr);
  }
  if (onClose) onClose();
  const auto close = [self = Retained<SourceDevice>(this)] {
    self->CloseDevice();
    const std::lock_guard lock(self->mutex_);
    self->opening_ = false;
  };
  if (RunBounded(kCloseLimit, close) == BoundedCall::NotBegun) close();
}

SourceDevice::Source SourceDevice::BeginStreaming(const CVPixelBufferAttributes& wish,
                                                  std::function<void()> onClose) {
  {
    std::unique_lock lock(mutex_);
    streamEnded_.wait_for(lock, kStreamEndLimit, [&] { return !streaming_; });
    if (!open_ || streaming_) return {};
    streaming_ = true;
    onClose_ = std::move(onClose);
  }
  const Source source = MakeSource(wish);
  if (!source.element) EndStreaming();
  return source;
}

void SourceDevice::EndStreaming() {
  SourceEnded();
  const std::lock_guard lock(mutex_);
  streaming_ = false;
  onClose_ = nullptr;
  streamEnded_.notify_all();
}
