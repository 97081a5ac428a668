// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_SLOTFIELD_H
#define ZORVEX_CAPTURE_SLOTFIELD_H

#include <atomic>
#include <cstdint>
#include <thread>
#include <utility>

#include <zorvex/platform/nsobject.h>

/// A field of a device slot that owns one reference to a platform object, or none.
///
/// Slots are used without a lock: one thread may ask whether a device captures while another stops
/// it, from inside a callback perhaps. So reading takes a reference of its own, and storing swaps
/// the object out in one step; neither ever meets a freed object, and of two threads that take the
/// object away only one gets it. Both only touch a word: the lowest bit of the pointer is the lock,
/// held for a few instructions.
///
/// Has no destructor on purpose: the slot table must not tear devices down while a process exits.
template <class T>
class SlotField {
 public:
  constexpr SlotField() noexcept = default;
  SlotField(const SlotField&) = delete;
  SlotField& operator=(const SlotField&) = delete;

  /// The object, kept alive by the result.
  Retained<T> Get() const noexcept {
    const std::uintptr_t value = Lock();
    Retained<T> result(Pointer(value));
    word_.store(value, std::memory_order_release);
    return result;
  }
  /// Stores an object or none; the one that was there is released.
  void Set(Retained<T> object) noexcept { Exchange(std::move(object)); }
  /// Empties the field; the caller gets the object.
  [[nodiscard]] Retained<T> Take() noexcept { return Exchange(nullptr); }

  explicit operator bool() const noexcept {
    return (word_.load(std::memory_order_acquire) & ~kLocked) != 0;
  }

 private:
  static constexpr std::uintptr_t kLocked = 1;
  static_assert(alignof(NSObject) > kLocked);

  static T* Pointer(std::uintptr_t value) noexcept { return reinterpret_cast<T*>(value); }

  std::uintptr_t Lock() const noexcept {
    for (;;) {
      const std::uintptr_t value = word_.fetch_or(kLocked, std::memory_order_acquire);
      if (!(value & kLocked)) return value;
      while (word_.load(std::memory_order_relaxed) & kLocked)
        std::this_thread::yield();
    }
  }
  Retained<T> Exchange(Retained<T> object) noexcept {
    const std::uintptr_t value = Lock();
    word_.store(reinterpret_cast<std::uintptr_t>(object.Detach()), std::memory_order_release);
    return Retained<T>::Adopt(Pointer(value));
  }

  mutable std::atomic<std::uintptr_t> word_{0};
};

#endif  // ZORVEX_CAPTURE_SLOTFIELD_H
