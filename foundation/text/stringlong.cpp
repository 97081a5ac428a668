// SPDX-License-Identifier: MIT
#include "foundation/text/stringlong.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

template <typename Char>
std::uint64_t LengthOf(const Char* text) {
  if constexpr (sizeof(Char) == 1) {
    return std::strlen(text);
  } else {
    std::uint64_t length = 0;
    while (text[length] != 0)
      ++length;
    return length;
  }
}

}  // namespace

template <typename Char>
LStringLongTemplate<Char>::LStringLongTemplate(const LStringLongTemplate& other) {
  if (!other.buffer_) return;
  buffer_ = new Char[other.length_ + 1];
  std::copy_n(other.buffer_, other.length_ + 1, buffer_);
  length_ = other.length_;
  capacity_ = length_ + 1;
}

template <typename Char>
LStringLongTemplate<Char>::LStringLongTemplate(LStringLongTemplate&& other) noexcept
    : buffer_(std::exchange(other.buffer_, nullptr)),
      length_(std::exchange(other.length_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

template <typename Char>
LStringLongTemplate<Char>& LStringLongTemplate<Char>::operator=(const Char* text) {
  const std::uint64_t length = LengthOf(text);
  auto* buffer = new Char[length + 1];
  std::copy_n(text, length + 1, buffer);
  delete[] buffer_;
  buffer_ = buffer;
  length_ = length;
  capacity_ = length + 1;
  return *this;
}

template <typename Char>
LStringLongTemplate<Char>& LStringLongTemplate<Char>::operator=(const LStringLongTemplate& other) {
  // Of the string itself, too: the copy has just the size that it needs.
  LStringLongTemplate copy(other);
  *this = std::move(copy);
  return *this;
}

template <typename Char>
LStringLongTemplate<Char>& LStringLongTemplate<Char>::operator=(
    LStringLongTemplate&& other) noexcept {
  std::swap(buffer_, other.buffer_);
  std::swap(length_, other.length_);
  std::swap(capacity_, other.capacity_);
  return *this;
}

template <typename Char>
void LStringLongTemplate<Char>::SetLength(std::uint64_t length) {
  length_ = length;
  if (buffer_) buffer_[length] = 0;
}

template <typename Char>
void LStringLongTemplate<Char>::Append(Char character) {
  if (length_ + 2 > capacity_) Grow(std::max<std::uint64_t>(length_ + 2 + capacity_, 260));
  buffer_[length_++] = character;
  buffer_[length_] = 0;
}

template <typename Char>
void LStringLongTemplate<Char>::Append(const Char* text) {
  Append(text, LengthOf(text));
}

template <typename Char>
void LStringLongTemplate<Char>::Append(const Char* text, std::uint64_t count) {
  const std::uint64_t needed = length_ + count + 1;
  if (needed <= capacity_) {
    std::copy_n(text, count, buffer_ + length_);
  } else {
    // Not by Grow, which frees the old buffer: the text may be part of it.
    const std::uint64_t capacity = std::max<std::uint64_t>(needed + capacity_, 260);
    auto* buffer = new Char[capacity];
    if (buffer_) std::copy_n(buffer_, length_, buffer);
    std::copy_n(text, count, buffer + length_);
    delete[] buffer_;
    buffer_ = buffer;
    capacity_ = capacity;
  }
  length_ += count;
  buffer_[length_] = 0;
}

template <typename Char>
void LStringLongTemplate<Char>::Grow(std::uint64_t capacity) {
  auto* buffer = new Char[capacity];
  if (buffer_) std::copy_n(buffer_, length_, buffer);
  buffer[length_] = 0;
  delete[] buffer_;
  buffer_ = buffer;
  capacity_ = capacity;
}

template class LStringLongTemplate<char>;
template class LStringLongTemplate<unsigned short>;
template class LStringLongTemplate<wchar_t>;
