// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_STRINGLONG_H
#define ZORVEX_FOUNDATION_TEXT_STRINGLONG_H

#include <cstdint>

#include <zorvex/foundation/export.h>

template <typename Char>
class LStringLongTemplateWriter;

/// Growable string. Its text is UTF-8 for `char`, UTF-16 units for `unsigned short` and UTF-32 for
/// `wchar_t`; these three exist.
///
/// All counts are in characters of its own type. A string that never held a text has no buffer and
/// reads as the empty text. A buffer is always terminated, and its capacity, which counts the
/// terminator, is larger than the length. Capacity never shrinks but by assignment.
///
/// Growing throws std::bad_alloc when there is no memory; the string is then as it was.
template <typename Char>
class ZORVEX_API LStringLongTemplate {
 public:
  LStringLongTemplate() = default;
  /// As by assignment.
  LStringLongTemplate(const Char* text) { *this = text; }
  LStringLongTemplate(const LStringLongTemplate& other);
  LStringLongTemplate(LStringLongTemplate&& other) noexcept;
  ~LStringLongTemplate() { delete[] buffer_; }

  /// A copy in a new buffer of just the size that it needs. `text` may be part of this string; it
  /// must not be null.
  LStringLongTemplate& operator=(const Char* text);
  /// The same; a string without a buffer gives one without a buffer.
  LStringLongTemplate& operator=(const LStringLongTemplate& other);
  /// Takes the buffer over; the other string has none afterwards.
  LStringLongTemplate& operator=(LStringLongTemplate&& other) noexcept;

  /// The text, terminated; the empty text when there is no buffer. Valid until the next change.
  [[nodiscard]] const Char* Text() const { return buffer_ ? buffer_ : &kNothing; }
  /// The characters to change in place, null when there is no buffer. Who shortens the text tells
  /// the new length with SetLength.
  [[nodiscard]] Char* Buffer() { return buffer_; }
  [[nodiscard]] const Char* Buffer() const { return buffer_; }
  /// In characters, without the terminator.
  [[nodiscard]] std::uint64_t Length() const { return length_; }
  /// In characters, the terminator among them; 0 without a buffer.
  [[nodiscard]] std::uint64_t Capacity() const { return capacity_; }
  /// Whether the length is 0.
  [[nodiscard]] bool IsEmpty() const { return length_ == 0; }

  /// Cuts the text, or takes in what was written behind it, and terminates it. `length` must be
  /// below the capacity; 0 is right for a string without a buffer, too.
  void SetLength(std::uint64_t length);

  /// Makes room for `capacity` characters, the terminator among them: exactly that many, unless
  /// there is room already. Keeps the text.
  void GrowToSize(std::uint64_t capacity) {
    if (capacity_ < capacity) Grow(capacity);
  }

  /// Room is made for what is needed and as much again as there was, at least for 260.
  void Append(Char character);
  /// `text` may be part of this string; it must not be null.
  void Append(const Char* text);
  void Append(const Char* text, std::uint64_t count);

  /// Appends a formatted text as ::tsprintfappend does.
  void tsprintfappend(const char* format, ...);

 private:
  friend class LStringLongTemplateWriter<Char>;
  friend struct LStringLongInBlock;  // makes strings whose text lies in a block of their owner's

  static constexpr Char kNothing = 0;

  void Grow(std::uint64_t capacity);

  Char* buffer_ = nullptr;
  std::uint64_t length_ = 0;
  std::uint64_t capacity_ = 0;
};

extern template class LStringLongTemplate<char>;
extern template class LStringLongTemplate<unsigned short>;
extern template class LStringLongTemplate<wchar_t>;

#endif  // ZORVEX_FOUNDATION_TEXT_STRINGLONG_H
