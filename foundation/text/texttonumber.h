// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_TEXTTONUMBER_H
#define ZORVEX_FOUNDATION_TEXT_TEXTTONUMBER_H

#include <zorvex/foundation/export.h>

/// \file
/// Numbers out of text. Nothing fails: what is not a number reads as 0. A null text reads as the
/// empty one.

/// Value of the hexadecimal digits that `text` begins with, in either case. The first other
/// character ends the number, so that "0x1F" is 0. More than eight digits wrap: the last eight
/// count.
ZORVEX_API unsigned int atoh(const char* text);
/// The same for wide text.
ZORVEX_API unsigned int wtoh(const wchar_t* text);

/// Decimal number at the beginning of `text`: characters with codes below 33 are skipped, then
/// comes at most one sign, then the digits up to the first other character. Without a digit there
/// the result is 0. What does not fit gives 9223372036854775807 or -9223372036854775807; never the
/// most negative value, which callers may use as a mark of their own. Exists for `char`.
template <typename Char>
ZORVEX_API long long ttoi64template(const Char* text);

extern template ZORVEX_API long long ttoi64template(const char* text);

#endif  // ZORVEX_FOUNDATION_TEXT_TEXTTONUMBER_H
