// SPDX-License-Identifier: MIT
#include "foundation/text/texttonumber.h"

#include <limits>
#include <type_traits>

namespace {

constexpr unsigned int kNoDigit = 16;

template <typename Char>
unsigned int HexDigit(Char character) {
  if (character >= '0' && character <= '9') return static_cast<unsigned int>(character - '0');
  if (character >= 'a' && character <= 'f') return static_cast<unsigned int>(character - 'a' + 10);
  if (character >= 'A' && character <= 'F') return static_cast<unsigned int>(character - 'A' + 10);
  return kNoDigit;
}

template <typename Char>
unsigned int HexNumber(const Char* text) {
  unsigned int value = 0;
  if (!text) return value;
  for (unsigned int digit = HexDigit(*text); digit != kNoDigit; digit = HexDigit(*++text))
    value = value * 16 + digit;
  return value;
}

}  // namespace

unsigned int atoh(const char* text) {
  return HexNumber(text);
}

unsigned int wtoh(const wchar_t* text) {
  return HexNumber(text);
}

template <typename Char>
long long ttoi64template(const Char* text) {
  constexpr long long kLargest = std::numeric_limits<long long>::max();
  if (!text) return 0;
  // Bytes above 127 are no blanks, whatever the sign of char.
  while (*text != 0 && static_cast<std::make_unsigned_t<Char>>(*text) < 33)
    ++text;
  const bool isNegative = *text == '-';
  if (isNegative || *text == '+') ++text;
  long long value = 0;
  for (; *text >= '0' && *text <= '9'; ++text) {
    const int digit = *text - '0';
    if (value > (kLargest - digit) / 10) return isNegative ? -kLargest : kLargest;
    value = value * 10 + digit;
  }
  return isNegative ? -value : value;
}

template long long ttoi64template(const char* text);
