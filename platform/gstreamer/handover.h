// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_HANDOVER_H
#define ZORVEX_PLATFORM_GSTREAMER_HANDOVER_H

#if defined(__SANITIZE_THREAD__)
extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
}
#endif

namespace gstreamer {

/// A scope in which a thread uses what GStreamer hands from thread to thread: what is set up before
/// a pipeline starts is used by its streaming thread, and freed by the thread that stopped it.
///
/// GStreamer orders these by locks of its own, which the thread sanitizer cannot see. The scope
/// tells it; elsewhere it is nothing. Not for what two threads may use at the same time.
class HandOver {
 public:
#if defined(__SANITIZE_THREAD__)
  explicit HandOver(const void* object) : object_(const_cast<void*>(object)) {
    __tsan_acquire(object_);
  }
  ~HandOver() {
    __tsan_release(object_);
  }

 private:
  void* object_;

 public:
#else
  explicit HandOver(const void*) {}
  ~HandOver() {}
#endif
  HandOver(const HandOver&) = delete;
  HandOver& operator=(const HandOver&) = delete;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_HANDOVER_H
