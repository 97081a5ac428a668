// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TIME_DATEPARSER_H
#define ZORVEX_FOUNDATION_TIME_DATEPARSER_H

#include <time.h>

#include <span>
#include <string_view>

namespace calendar {

inline bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

/// `sscanf` of decimal numbers: `separators[i]` must stand between number i and the next, a blank
/// among them for any white space or none. Numbers that are not reached keep their values. Digits
/// beyond 64 bits count as the largest number of 64 bits; 32 of the bits are stored.
void ScanNumbers(const char* text, std::string_view separators, std::span<int> numbers);

/// Reads a date as LDateTime::_SetTextDate describes it, in an order of LDateTime::DateFormatOrder.
/// False when it is no date at all; `fields` is then as it was.
bool ReadTypedDate(const char* text, int order, tm& fields);

/// Reads hour, minute and second as LDateTime::_SetTextTime describes it; other fields are kept.
void ReadTypedTime(const char* text, tm& fields);

/// Midnight of a date in the compiler's own form, "May  6 2012".
tm FieldsOfCompilerDate(std::string_view date);

}  // namespace calendar

#endif  // ZORVEX_FOUNDATION_TIME_DATEPARSER_H
