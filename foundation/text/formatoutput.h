// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_FORMATOUTPUT_H
#define ZORVEX_FOUNDATION_TEXT_FORMATOUTPUT_H

#include <cstdint>
#include <cstring>

#include "foundation/text/decimaldigits.h"

/// Stands before a writer of `char` and keeps in registers where the next character goes: through
/// the writer itself every stored character would make the compiler load all of that again. For the
/// same reason a FormatOutput is handed to nothing that is not inlined. What does not fit goes
/// through the writer, by its rules. Inside the library only.
template <typename Writer>
class FormatOutput {
 public:
  explicit FormatOutput(Writer& writer)
      : writer_(writer), begin_(writer.Next()), next_(begin_), room_(writer.Room()) {}

  [[nodiscard]] std::uint64_t Length() const { return writer_.Length() + Pending(); }

  /// Tells the writer what it has got. Nothing does so when the writer has thrown.
  std::uint64_t Finish() {
    writer_.Advance(Pending());
    return writer_.Length();
  }

  void AddChar(char character) { AddText(&character, 1); }

  void AddText(const char* text, std::uint64_t count) {
    if (count > room_) {
      AddBeyond(writer_, Pending(), text, count);
      begin_ = next_ = writer_.Next();
      room_ = writer_.Room();
      return;
    }
    // A call takes longer than what is mostly copied here. Moved, not copied: a text that lies
    // behind in the same buffer comes out as it would one by one.
    if (count > 4)
      std::memmove(next_, text, count);
    else
      for (std::uint64_t i = 0; i < count; ++i)
        next_[i] = text[i];
    Skip(count);
  }

  /// Whether an integer of this width can be added.
  [[nodiscard]] bool HasRoomFor(unsigned int width) const {
    return room_ > width + kDecimalDigits64;
  }
  void AddDecimal(std::uint64_t magnitude, bool negative, unsigned int width, bool zeros) {
    const auto count = static_cast<unsigned int>(CountDecimals(magnitude));
    AddPadding(count, negative, width, zeros);
    WriteDecimalBefore(next_ + count, magnitude);
    Skip(count);
  }
  void AddHexadecimal(std::uint64_t value, unsigned int width, bool zeros) {
    const auto count = static_cast<unsigned int>(std::bit_width(value | 1) + 3) / 4;
    AddPadding(count, false, width, zeros);
    WriteBitsBefore(next_ + count, value, 4, kLowerDigits);
    Skip(count);
  }

 private:
  [[nodiscard]] std::uint64_t Pending() const { return static_cast<std::uint64_t>(next_ - begin_); }

  void Skip(std::uint64_t count) {
    next_ += count;
    room_ -= count;
  }

  // Brings the digits to the width, whichever side of the sign that is.
  void AddPadding(unsigned int digits, bool negative, unsigned int width, bool zeros) {
    const unsigned int length = digits + (negative ? 1 : 0);
    if (zeros && negative) {
      *next_ = '-';
      Skip(1);
    }
    for (unsigned int i = length; i < width; ++i) {
      *next_ = zeros ? '0' : ' ';
      Skip(1);
    }
    if (!zeros && negative) {
      *next_ = '-';
      Skip(1);
    }
  }

  [[gnu::noinline]] static void AddBeyond(Writer& writer, std::uint64_t pending, const char* text,
                                          std::uint64_t count) {
    writer.Advance(pending);
    writer.AddText(text, count);
  }

  Writer& writer_;
  char* begin_;
  char* next_;
  std::uint64_t room_;
};

#endif  // ZORVEX_FOUNDATION_TEXT_FORMATOUTPUT_H
