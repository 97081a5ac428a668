// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_SIZEDARRAY_H
#define ZORVEX_FOUNDATION_STORE_SIZEDARRAY_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

/// Array on the heap of plain values, such as the bytes that a decoder gives. Its count is set
/// apart from its capacity, so that a caller can write into the array first and tell afterwards how
/// much of it there is:
///
///     LSizedArray<unsigned char> bytes;
///     bytes.SetCapacity(4096);
///     bytes.SetCount(ReadSome(bytes.Data(), bytes.Capacity()));
///
/// Making room throws std::bad_alloc when there is no memory; the array is then as it was.
template <typename T>
class LSizedArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  LSizedArray() = default;
  /// The capacity of a copy is the count.
  LSizedArray(const LSizedArray& other) {
    SetCapacity(other.count_);
    Append(other.Data(), other.count_);
  }
  LSizedArray(LSizedArray&& other) noexcept
      : values_(std::move(other.values_)),
        count_(std::exchange(other.count_, 0)),
        capacity_(std::exchange(other.capacity_, 0)) {}
  LSizedArray& operator=(LSizedArray other) noexcept {
    std::swap(values_, other.values_);
    std::swap(count_, other.count_);
    std::swap(capacity_, other.capacity_);
    return *this;
  }
  ~LSizedArray() = default;

  /// `Capacity()` values, of which the first `Count()` mean something. Null when the capacity is 0.
  /// Valid until the capacity changes.
  [[nodiscard]] T* Data() { return values_.get(); }
  [[nodiscard]] const T* Data() const { return values_.get(); }
  [[nodiscard]] std::size_t Count() const { return count_; }
  [[nodiscard]] std::size_t Capacity() const { return capacity_; }
  [[nodiscard]] bool IsEmpty() const { return count_ == 0; }

  /// `index` is below the capacity.
  [[nodiscard]] T& operator[](std::size_t index) { return values_[index]; }
  [[nodiscard]] const T& operator[](std::size_t index) const { return values_[index]; }

  [[nodiscard]] T* begin() { return Data(); }
  [[nodiscard]] T* end() { return Data() + count_; }
  [[nodiscard]] const T* begin() const { return Data(); }
  [[nodiscard]] const T* end() const { return Data() + count_; }

  /// Makes the capacity just that, larger or smaller. Keeps the values, cut to the new capacity;
  /// new ones are not initialised.
  void SetCapacity(std::size_t capacity) {
    if (capacity == capacity_) return;
    std::unique_ptr<T[]> values(capacity ? new T[capacity] : nullptr);
    count_ = std::min(count_, capacity);
    std::copy_n(Data(), count_, values.get());
    values_ = std::move(values);
    capacity_ = capacity;
  }

  /// Says how many values there are; at most the capacity. Moves and initialises nothing.
  void SetCount(std::size_t count) { count_ = count; }

  /// Room is doubled when there is none; `values` must not lie in this array.
  void Append(const T* values, std::size_t count) {
    if (count > capacity_ - count_) SetCapacity(std::max(count_ + count, 2 * capacity_));
    std::copy_n(values, count, Data() + count_);
    count_ += count;
  }
  void Append(T value) { Append(&value, 1); }

  /// Frees the values: count and capacity are 0.
  void Clear() { *this = LSizedArray(); }

 private:
  std::unique_ptr<T[]> values_;
  std::size_t count_ = 0;
  std::size_t capacity_ = 0;
};

#endif  // ZORVEX_FOUNDATION_STORE_SIZEDARRAY_H
