// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_NSOBJECT_H
#define ZORVEX_PLATFORM_NSOBJECT_H

#include <atomic>
#include <cstddef>
#include <type_traits>
#include <utility>

/// Base of every platform object: reference counted, born with one reference that belongs to its
/// maker. Retain and Release are thread-safe; the last Release deletes the object on the calling
/// thread.
class NSObject {
 public:
  NSObject() = default;
  NSObject(const NSObject&) = delete;
  NSObject& operator=(const NSObject&) = delete;

  void Retain() const noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
  void Release() const noexcept {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

 protected:
  virtual ~NSObject() = default;

 private:
  mutable std::atomic<int> references_{1};
};

/// Owns one reference to a platform object, or none.
template <class T>
class Retained {
 public:
  Retained() noexcept = default;
  Retained(std::nullptr_t) noexcept {}
  /// Takes a reference of its own.
  explicit Retained(T* object) noexcept : object_(object) {
    if (object_) object_->Retain();
  }
  Retained(const Retained& other) noexcept : Retained(other.object_) {}
  Retained(Retained&& other) noexcept : object_(other.Detach()) {}
  template <class U>
  requires(!std::is_same_v<U, T> && std::is_convertible_v<U*, T*>) Retained(Retained<U> other)
  noexcept : object_(other.Detach()) {}
  ~Retained() {
    if (object_) object_->Release();
  }
  Retained& operator=(Retained other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  /// Takes over the reference that the caller owns, as that of a fresh object.
  static Retained Adopt(T* object) noexcept {
    Retained result;
    result.object_ = object;
    return result;
  }
  /// Hands the reference to the caller.
  [[nodiscard]] T* Detach() noexcept { return std::exchange(object_, nullptr); }

  T* get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

 private:
  T* object_ = nullptr;
};

/// A fresh object, owned by the result.
template <class T, class... Arguments>
Retained<T> MakeRetained(Arguments&&... arguments) {
  return Retained<T>::Adopt(new T(std::forward<Arguments>(arguments)...));
}

#endif  // ZORVEX_PLATFORM_NSOBJECT_H
