// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_FORMATSPECIFICATION_H
#define ZORVEX_FOUNDATION_TEXT_FORMATSPECIFICATION_H

#include <algorithm>
#include <cstdint>

/// What stands between a '%' and the end of its conversion. Inside the library only.
struct FormatSpecification {
  enum class Modifier : std::uint8_t { None, Long, LongLong, LongDouble, Size };

  /// The most characters that are kept of those between '%' and the conversion character.
  static constexpr int Kept = 257;
  /// What is not given: the precision.
  static constexpr int None = -1;
  /// Larger widths and precisions are taken for this. A conversion gives 271 characters at most,
  /// and no digit of a double that is not 0 stands behind the 1074th of its fraction.
  static constexpr int Largest = 1100;

  const char* text;      ///< behind the '%'
  int length;            ///< of the kept characters
  int width = 0;         ///< 0 when there is none
  int precision = None;  ///< 0 when there is only its point
  bool zeros = false;    ///< the width is filled with zeros
  bool regular = true;   ///< as C has it: zeros, a width, a point with digits, one modifier
  Modifier modifier = Modifier::None;
  char conversion;  ///< 0 when the format ends before it

  /// Reads on from behind a '%'. Returns where the format goes on: behind the conversion character,
  /// or at the terminator.
  const char* Read(const char* format) {
    text = format;
    const char* next = Parse(format);
    length = static_cast<int>(next - format);
    if (IsKept(*next) || next - format > Kept) next = ReadIrregular(next);
    conversion = *next;
    return conversion == 0 ? next : next + 1;
  }

  /// The value of an integer argument: of the 64 bits of a slot, all that have a modifier take all.
  [[nodiscard]] std::uint64_t Narrow(std::uint64_t slot) const {
    return modifier == Modifier::None ? static_cast<std::uint32_t>(slot) : slot;
  }
  [[nodiscard]] std::int64_t NarrowSigned(std::uint64_t slot) const {
    return modifier == Modifier::None ? static_cast<std::int32_t>(slot)
                                      : static_cast<std::int64_t>(slot);
  }

  /// The last kept character is L, whatever stands before it.
  [[nodiscard]] bool IsLongDouble() const { return length != 0 && text[length - 1] == 'L'; }

 private:
  // No flags, no '*' and none of h, j and t: a deliberately small grammar, in which those are
  // conversion characters themselves.
  static bool IsKept(char character) {
    return (character >= '0' && character <= '9') || character == '.' || character == 'l' ||
           character == 'L' || character == 'z';
  }

  static bool IsDigit(char character) { return character >= '0' && character <= '9'; }

  static const char* ReadNumber(const char* next, int* number) {
    int value = 0;
    for (; IsDigit(*next); ++next)
      value = std::min(value * 10 + (*next - '0'), Largest);
    *number = value;
    return next;
  }

  const char* Parse(const char* next) {
    zeros = *next == '0';
    next = ReadNumber(next, &width);
    if (*next == '.') next = ReadNumber(next + 1, &precision);
    if (*next == 'l') {
      modifier = *++next == 'l' ? Modifier::LongLong : Modifier::Long;
      return modifier == Modifier::LongLong ? next + 1 : next;
    }
    if (*next != 'L' && *next != 'z') return next;
    modifier = *next == 'L' ? Modifier::LongDouble : Modifier::Size;
    return next + 1;
  }

  const char* ReadIrregular(const char* next);
};

#endif  // ZORVEX_FOUNDATION_TEXT_FORMATSPECIFICATION_H
