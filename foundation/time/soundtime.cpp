// SPDX-License-Identifier: MIT
#include "foundation/time/soundtime.h"

#include <algorithm>
#include <charconv>

namespace {

enum class Hours { kNone, kInt, kAll };

char* WriteNumber(char* place, long long number) {
  // No number of 64 bits has more than 20 characters.
  return std::to_chars(place, place + 20, number).ptr;
}

char* WriteDigits(char* place, unsigned int number, int digits) {
  for (int i = digits; i-- > 0; number /= 10)
    place[i] = static_cast<char>('0' + number % 10);
  return place + digits;
}

/// Writes a form with so many decimals. In unsigned numbers every absolute value fits, also with
/// the rounding added.
void WriteTime(char* text, std::int64_t milliseconds, Hours hours, int decimals,
               unsigned int rounding) {
  auto ms = static_cast<std::uint64_t>(milliseconds);
  if (milliseconds < 0) {
    *text++ = '-';
    ms = 0 - ms;
  }
  ms += rounding;
  const auto hour = static_cast<std::int64_t>(ms / 3600000);
  const auto rest = static_cast<unsigned int>(ms % 3600000);
  if (hours != Hours::kNone) {
    text = WriteNumber(text, hours == Hours::kInt ? static_cast<std::int32_t>(hour) : hour);
    *text++ = ':';
  }
  text = WriteDigits(text, rest / 60000, 2);
  *text++ = ':';
  text = WriteDigits(text, rest / 1000 % 60, 2);
  if (decimals > 0) {
    *text++ = '.';
    constexpr unsigned int kUnits[] = {1000, 100, 10, 1};
    text = WriteDigits(text, rest % 1000 / kUnits[decimals], decimals);
  }
  *text = 0;
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

void LSoundTime::_GetTextMMSS(char* text) const {
  WriteTime(text, milliseconds_, Hours::kNone, 0, 0);
}

void LSoundTime::_GetTextMMSSF(char* text) const {
  WriteTime(text, milliseconds_, Hours::kNone, 1, 50);
}

void LSoundTime::_GetTextMMSSFF(char* text) const {
  WriteTime(text, milliseconds_, Hours::kNone, 2, 5);
}

void LSoundTime::_GetTextHMMSS(char* text) const {
  WriteTime(text, milliseconds_, Hours::kInt, 0, 0);
}

void LSoundTime::_GetTextHMMSSF(char* text) const {
  WriteTime(text, milliseconds_, Hours::kInt, 1, 50);
}

void LSoundTime::_GetTextHMMSSFF(char* text) const {
  WriteTime(text, milliseconds_, Hours::kInt, 2, 5);
}

void LSoundTime::_GetTextHMMSSFFF(char* text) const {
  WriteTime(text, milliseconds_, Hours::kInt, 3, 0);
}

void LSoundTime::_GetText0(char* text) const {
  WriteTime(text, milliseconds_, Hours::kAll, 0, 500);
}

void LSoundTime::_GetText1(char* text) const {
  WriteTime(text, milliseconds_, Hours::kAll, 1, 50);
}

void LSoundTime::_GetText2(char* text) const {
  WriteTime(text, milliseconds_, Hours::kAll, 2, 5);
}

void LSoundTime::_GetText(char* text) const {
  WriteTime(text, milliseconds_, Hours::kAll, 3, 0);
}

void LSoundTime::SetText(const char* text) {
  // Unsigned, so that a number too large wraps around.
  std::uint64_t value = 0;
  std::uint64_t field = 0;   // whole units since the last colon, a part of the value
  unsigned int unit = 1000;  // milliseconds of the next digit, in a field's whole part of the last
  int colons = 0;
  bool isNegative = false;
  for (; text && *text; ++text) {
    const char c = *text;
    if (IsDigit(c)) {
      const std::uint64_t digit = static_cast<std::uint64_t>(c - '0') * unit;
      if (unit >= 1000) {
        value += 9 * field + digit;
        field = 10 * field + digit;
      } else {
        value += digit;
        unit /= 10;
      }
    } else if (c == '.' && unit > 999) {
      unit = 100;
    } else if (c == ':') {
      field = 0;
      // What follows the third colon and each later one counts as decimals: on purpose.
      if (colons < 2) {
        ++colons;
        value *= 60;
      } else {
        unit = 100;
      }
    } else if (c == '-') {
      isNegative = true;
    }
  }
  milliseconds_ = static_cast<std::int64_t>(isNegative ? 0 - value : value);
}

bool LSoundTime::IsValid(const char* text, bool allowNegative) {
  int points = 0;
  int colons = 0;
  for (const char* place = text; place && *place; ++place) {
    if (*place == '-') {
      if (place != text || !allowNegative) return false;
    } else if (*place == '.') {
      if (++points > 1) return false;
    } else if (*place == ':') {
      if (points > 0 || ++colons > 3) return false;
    } else if (!IsDigit(*place)) {
      return false;
    }
  }
  return true;
}

void LdB<signed char>::GetText(char* text) const {
  if (decibels_ == -128)
    text = std::copy_n("--", 2, text);
  else
    text = WriteNumber(text, decibels_);
  std::copy_n("dB", 3, text);
}

void LdB<signed char>::SetText(const char* text) {
  unsigned int value = 0;
  bool isNegative = false;
  for (; text && *text; ++text) {
    if (*text == '-') {
      if (isNegative) value = 127;  // on purpose, see the header
      isNegative = true;
    } else if (IsDigit(*text)) {
      value = value * 10 + static_cast<unsigned int>(*text - '0');
    }
  }
  decibels_ = static_cast<signed char>(isNegative ? 0 - value : value);
}
