// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_STRINGWRITER_H
#define ZORVEX_FOUNDATION_TEXT_STRINGWRITER_H

#include <cstdint>
#include <cstring>

#include <zorvex/foundation/text/stringlong.h>

/// \file
/// Writers: what the routines that make text character by character write into. Each has
/// `AddChar(character)`, `AddText(characters, count)`, which is that for each of them in one go,
/// `AddCharacters(characters, count)` and `Length()`, the number of characters in the target. None
/// terminates its target: that is for who made the writer. A writer is made on the stack, refers to
/// its target, which must outlive it, and is for one thread at a time.

/// Writes from the current length of a string on. The string must have room for one more character
/// when the writer begins, so that its maker calls GrowToSize(260) first; who wants to replace the
/// text calls Restart, too. The string grows by a factor of four and more.
///
/// When there is no memory to grow, std::bad_alloc leaves the call. The string can then still be
/// terminated.
template <typename Char>
class LStringLongTemplateWriter {
 public:
  explicit LStringLongTemplateWriter(LStringLongTemplate<Char>& string) : string_(string) {}

  /// Grows to four times the capacity as soon as that is reached.
  void AddChar(Char character) {
    // Stored before the check: there is always room for one.
    string_.buffer_[string_.length_++] = character;
    if (string_.length_ == string_.capacity_) string_.Grow(string_.capacity_ * 4);
  }

  /// Grows as AddChar for each character does. They must not lie in the string that is written.
  void AddText(const Char* characters, std::uint64_t count) {
    std::uint64_t room = string_.capacity_ - string_.length_;
    while (count >= room) {
      Copy(characters, room);
      characters += room;
      count -= room;
      string_.Grow(string_.capacity_ * 4);
      room = string_.capacity_ - string_.length_;
    }
    Copy(characters, count);
  }

  /// Grows at once: to the first of 4, 8, 16... times the capacity that is larger than the length
  /// will be. The characters must not lie in the string that is written.
  void AddCharacters(const Char* characters, std::uint64_t count) {
    const std::uint64_t needed = string_.length_ + count;
    if (needed >= string_.capacity_) {
      std::uint64_t capacity = string_.capacity_ * 4;
      while (capacity <= needed)
        capacity *= 2;
      string_.Grow(capacity);
    }
    Copy(characters, count);
  }

  [[nodiscard]] std::uint64_t Length() const { return string_.length_; }

  /// Where the next character goes, and how many may be stored from there on that needs no growing
  /// and no dropping. Who has stored some says so with Advance.
  [[nodiscard]] Char* Next() { return string_.buffer_ + string_.length_; }
  [[nodiscard]] std::uint64_t Room() const { return string_.capacity_ - string_.length_ - 1; }
  void Advance(std::uint64_t count) { string_.length_ += count; }

  /// Writes from the beginning of the string on, over its text.
  void Restart() { string_.length_ = 0; }

  /// Terminates the string. After growing failed the text may fill the capacity: the last character
  /// then makes place.
  void Terminate() {
    if (string_.length_ == string_.capacity_) --string_.length_;
    string_.buffer_[string_.length_] = 0;
  }

 private:
  void Copy(const Char* characters, std::uint64_t count) {
    if (count != 0)
      std::memcpy(string_.buffer_ + string_.length_, characters, count * sizeof(Char));
    string_.length_ += count;
  }

  LStringLongTemplate<Char>& string_;
};

/// The same for a string whose text is kept and added to.
template <typename Char>
class LStringLongTemplateAppender : public LStringLongTemplateWriter<Char> {
 public:
  using LStringLongTemplateWriter<Char>::LStringLongTemplateWriter;
};

/// Writes into a buffer of its maker's and silently drops what does not fit. `limit` is the largest
/// number of characters, the size of the buffer less one for the terminator.
template <typename Char>
class LFixedLengthStringWriterTemplate {
 public:
  LFixedLengthStringWriterTemplate(Char* buffer, std::uint64_t limit)
      : buffer_(buffer), limit_(limit) {}

  void AddChar(Char character) {
    if (length_ < limit_) buffer_[length_++] = character;
  }
  void AddText(const Char* characters, std::uint64_t count) {
    // Differences of counts, never the end of the buffer: with a limit of 2^64 - 1, which stands
    // for none, that would lie before its beginning.
    if (count > limit_ - length_) count = limit_ - length_;
    if (count != 0) std::memcpy(buffer_ + length_, characters, count * sizeof(Char));
    length_ += count;
  }
  void AddCharacters(const Char* characters, std::uint64_t count) { AddText(characters, count); }
  [[nodiscard]] std::uint64_t Length() const { return length_; }

  /// As of the writers above.
  [[nodiscard]] Char* Next() { return buffer_ + length_; }
  [[nodiscard]] std::uint64_t Room() const { return limit_ - length_; }
  void Advance(std::uint64_t count) { length_ += count; }

 private:
  Char* buffer_;
  std::uint64_t length_ = 0;
  std::uint64_t limit_;
};

#endif  // ZORVEX_FOUNDATION_TEXT_STRINGWRITER_H
