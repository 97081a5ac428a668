// SPDX-License-Identifier: MIT
#include "foundation/text/conversiontext.h"

#include <langinfo.h>

#include <algorithm>
#include <bit>
#include <cfenv>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <limits>
#include <type_traits>

#include "foundation/text/decimaldigits.h"
#include "foundation/text/fixedpoint.h"

namespace {

using Modifier = FormatSpecification::Modifier;

// Fills what is missing so that the text begins at `wanted`.
char* FillBefore(char* first, const char* wanted, char character) {
  while (first > wanted)
    *--first = character;
  return first;
}

// Byte by byte: what is copied is short, mostly a sign or a decimal point.
char* CopyBefore(char* first, std::string_view text) {
  for (auto next = text.rbegin(); next != text.rend(); ++next)
    *--first = *next;
  return first;
}

}  // namespace

void ConversionText::SetSlot(const FormatSpecification& specification, std::uint64_t slot) {
  if (!specification.regular) return SetUnknown(specification);
  switch (specification.conversion) {
    case 'd':
    case 'i':
      return SetSigned(specification, slot);
    case 'u':
    case 'x':
    case 'X':
    case 'o':
      return SetUnsigned(specification, slot);
    case 'p':
      return SetPointer(specification, slot);
    case 'c':
    case 'C':
      return SetCharacter(specification, slot);
    case 'S':
      return SetWideText(specification, slot);
    case 'E':
    case 'F':
    case 'G':
    case 'a':
    case 'A':
      // Deliberately a slot and no double. What the C library would make of an integer there is
      // undefined; here it is the double of these 64 bits, also with an L.
      return SetByLibrary(specification, std::bit_cast<double>(slot));
    default:
      return SetUnknown(specification);
  }
}

void ConversionText::SetSigned(const FormatSpecification& specification, std::uint64_t slot) {
  const std::int64_t value = specification.NarrowSigned(slot);
  const auto bits = static_cast<std::uint64_t>(value);
  char* const first = WriteDecimalBefore(End(), value < 0 ? 0 - bits : bits);
  SetNumber(specification, first, value < 0 ? "-" : "", true);
}

void ConversionText::SetUnsigned(const FormatSpecification& specification, std::uint64_t slot) {
  const std::uint64_t value = specification.Narrow(slot);
  char* first = nullptr;
  switch (specification.conversion) {
    case 'x':
      first = WriteBitsBefore(End(), value, 4, kLowerDigits);
      break;
    case 'X':
      first = WriteBitsBefore(End(), value, 4, kUpperDigits);
      break;
    case 'o':
      first = WriteBitsBefore(End(), value, 3, kLowerDigits);
      break;
    default:
      first = WriteDecimalBefore(End(), value);
  }
  SetNumber(specification, first, "", true);
}

void ConversionText::SetPointer(const FormatSpecification& specification, std::uint64_t slot) {
  if (slot != 0)
    return SetNumber(specification, WriteBitsBefore(End(), slot, 4, kLowerDigits), "0x", true);
  // Libraries have different words for it.
  void* const nothing = nullptr;
  SetPrinted(std::snprintf(scratch_, Most + 1, "%*p", specification.width, nothing));
}

void ConversionText::SetCharacter(const FormatSpecification& specification, std::uint64_t slot) {
  if (specification.conversion == 'C' || specification.modifier != Modifier::None) {
    return SetPrinted(std::snprintf(scratch_, Most + 1, "%*lc", specification.width,
                                    static_cast<std::wint_t>(slot)));
  }
  const int blanks = std::clamp(specification.width - 1, 0, Most);
  std::memset(scratch_, ' ', static_cast<std::size_t>(blanks));
  scratch_[blanks] = static_cast<char>(slot);
  text_ = scratch_;
  // The text of a conversion ends at a NUL, so that a string never has one inside.
  length_ = std::min(blanks + (scratch_[blanks] == 0 ? 0 : 1), Most);
}

void ConversionText::SetWideText(const FormatSpecification& specification, std::uint64_t slot) {
  const auto* const text = reinterpret_cast<const wchar_t*>(static_cast<std::uintptr_t>(slot));
  SetPrinted(std::snprintf(scratch_, Most + 1, "%*.*ls", specification.width,
                           specification.precision, text));
}

// What the C library has no conversion for is not shown to it: there is a character that writes
// through its slot as a pointer, and one that reads as many arguments as the width says. The slot
// counts as taken all the same. What only begins a longer conversion elsewhere (flags, '*', h, j
// and t, which deliberately are not accepted here) gives nothing, so that "%-5d" gives "5d";
// everything else is written as it stands.
void ConversionText::SetUnknown(const FormatSpecification& specification) {
  if (std::strchr("-+ #'*hjtn", specification.conversion)) return;
  char* next = scratch_;
  *next++ = '%';
  next = std::copy_n(specification.text, specification.length, next);
  *next++ = specification.conversion;
  text_ = scratch_;
  length_ = static_cast<int>(next - scratch_);
}

void ConversionText::SetDouble(const FormatSpecification& specification, double value) {
  if (!specification.regular) return SetUnknown(specification);
  if (!SetDigits(specification, value)) SetByLibrary(specification, value);
}

void ConversionText::SetLongDouble(const FormatSpecification& specification, long double value) {
  if (!specification.regular) return SetUnknown(specification);
  SetByLibrary(specification, value);
}

// The C library computes these with numbers of any length, exactly and slowly. The same digits come
// from 128 bits or, what has no place in them, from the C++ library, which promises those of
// printf; only the sign, the width and the point of the locale are then to be added.
bool ConversionText::SetDigits(const FormatSpecification& specification, double value) {
  constexpr int mostDecimals = 100;
  const int precision =
      specification.precision == FormatSpecification::None ? 6 : specification.precision;
  // A point of several bytes counts as one character or not for the width: the library's matter.
  const char* const point = nl_langinfo(RADIXCHAR);
  if (!std::isfinite(value) || precision > mostDecimals || std::fegetround() != FE_TONEAREST ||
      std::strlen(point) != 1)
    return false;
  char* first = nullptr;
  FixedPoint number;
  if (specification.conversion == 'f' && number.Set(value, precision)) {
    first = End();
    if (precision > 0) {
      first = WriteDecimalBefore(first, number.fraction, precision);
      *--first = *point;
    }
    first = WriteDecimalBefore(first, number.whole);
  } else {
    const auto style = specification.conversion == 'f'   ? std::chars_format::fixed
                       : specification.conversion == 'e' ? std::chars_format::scientific
                                                         : std::chars_format::general;
    char digits[std::numeric_limits<double>::max_exponent10 + mostDecimals + 8];
    char* const end =
        std::to_chars(digits, digits + sizeof digits, std::abs(value), style, precision).ptr;
    std::replace(digits, end, '.', *point);
    first = CopyBefore(End(), {digits, end});
  }
  SetNumber(specification, first, std::signbit(value) ? "-" : "", false);
  return true;
}

// One specification as the C library knows it, of parts that have been read: nothing of the
// caller's format reaches it.
template <typename Float>
void ConversionText::SetByLibrary(const FormatSpecification& specification, Float value) {
  char format[16];
  char* next = format;
  *next++ = '%';
  if (specification.zeros) *next++ = '0';
  *next++ = '*';
  *next++ = '.';
  *next++ = '*';
  if (std::is_same_v<Float, long double>) *next++ = 'L';
  *next++ = specification.conversion;
  *next = 0;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const int length = std::snprintf(scratch_, Most + 1, format, specification.width,
                                   specification.precision, value);
#pragma GCC diagnostic pop
  SetPrinted(length);
}

void ConversionText::SetPrinted(int result) {
  // The C library refuses characters that its locale does not have: they give nothing.
  text_ = scratch_;
  length_ = result < 0 ? 0 : static_cast<int>(std::strlen(scratch_));
}

// Completes the digits from `first` to the end: zeros for the precision or the width, the prefix,
// blanks for the width.
void ConversionText::SetNumber(const FormatSpecification& specification, char* first,
                               std::string_view prefix, bool integer) {
  if (specification.length != 0) {
    const auto prefixLength = static_cast<int>(prefix.length());
    int digits = 0;
    if (integer && specification.precision != FormatSpecification::None) {
      // No digit at all is what a 0 has with a precision of 0.
      if (specification.precision == 0 && *first == '0') first = End();
      digits = specification.precision;
    } else if (specification.zeros) {
      digits = specification.width - prefixLength;
    }
    first = FillBefore(first, End() - digits, '0');
  }
  first = CopyBefore(first, prefix);
  if (specification.length != 0) first = FillBefore(first, End() - specification.width, ' ');
  text_ = first;
  length_ = std::min(static_cast<int>(End() - first), Most);
}
