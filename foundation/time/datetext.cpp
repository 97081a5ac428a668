// SPDX-License-Identifier: MIT
// The text forms of LDateTime.
#include <charconv>
#include <cstdlib>

#include "foundation/text/decimaldigits.h"
#include "foundation/time/datetime.h"
#include "foundation/time/localfields.h"

namespace {

// Each of these writes unterminated text and returns its end.

char* PutPair(char* to, int number) {
  WritePairBefore(to + 2, static_cast<unsigned int>(number));
  return to + 2;
}

char* PutChar(char* to, char character) {
  *to = character;
  return to + 1;
}

// Four digits at least, not counting the sign.
char* PutYear(char* to, long year) {
  if (year < 0) to = PutChar(to, '-');
  const long magnitude = std::labs(year);
  if (magnitude > 9999) return std::to_chars(to, to + 10, magnitude).ptr;
  return PutPair(PutPair(to, static_cast<int>(magnitude / 100)), static_cast<int>(magnitude % 100));
}

char* PutYearOfCentury(char* to, long year) {
  if (year % 100 < 0) to = PutChar(to, '-');
  return PutPair(to, static_cast<int>(std::labs(year % 100)));
}

long YearOf(const tm& fields) {
  return fields.tm_year + 1900L;
}

char* PutDate(char* to, const tm& fields) {
  to = PutChar(PutYear(to, YearOf(fields)), '-');
  to = PutChar(PutPair(to, fields.tm_mon + 1), '-');
  return PutPair(to, fields.tm_mday);
}

char* PutHourMinute(char* to, const tm& fields, char separator) {
  return PutPair(PutChar(PutPair(to, fields.tm_hour), separator), fields.tm_min);
}

char* PutTime(char* to, const tm& fields, char separator) {
  return PutPair(PutChar(PutHourMinute(to, fields, separator), separator), fields.tm_sec);
}

// No date has the empty text, and so has a value whose fields cannot be told.
template <typename Put>
void Write(long seconds, char* text, Put put) {
  tm fields;
  const bool hasText = seconds != 0 && calendar::BreakDown(seconds, fields);
  char* const end = hasText ? put(text, fields) : text;
  *end = '\0';
}

// The same for a date and its time in two buffers.
template <typename PutTimeOfDay>
void WriteBoth(long seconds, char* date, char* time, PutTimeOfDay putTimeOfDay) {
  *time = '\0';
  Write(seconds, date, [&](char* to, const tm& fields) {
    *putTimeOfDay(time, fields) = '\0';
    return PutDate(to, fields);
  });
}

char* PutLongTime(char* to, const tm& fields) {
  return PutTime(to, fields, ':');
}

char* PutShortTime(char* to, const tm& fields) {
  return PutHourMinute(to, fields, ':');
}

}  // namespace

void LDateTime::GetDateTime(long t, char* date, char* time) {
  WriteBoth(t, date, time, PutLongTime);
}

void LDateTime::GetDateTime(char* text) const {
  Write(seconds_, text, [](char* to, const tm& fields) {
    return PutLongTime(PutChar(PutDate(to, fields), ' '), fields);
  });
}

void LDateTime::GetDateYYYYHMMHDDTimeHHCMM(long t, char* date, char* time) {
  WriteBoth(t, date, time, PutShortTime);
}

void LDateTime::GetDateYYYYHMMHDDTimeHHCMM(char* text) const {
  Write(seconds_, text, [](char* to, const tm& fields) {
    return PutShortTime(PutChar(PutDate(to, fields), ' '), fields);
  });
}

void LDateTime::GetDateInLocalFormat(char* date) const {
  Write(seconds_, date, PutDate);
}

void LDateTime::GetDateLocalFormat(char* date) const {
  Write(seconds_, date, [](char* to, const tm& fields) {
    const int order = DateFormatOrder();
    if (order == 2) to = PutChar(PutYearOfCentury(to, YearOf(fields)), '/');
    const int month = fields.tm_mon + 1;
    const bool dayFirst = order == 1;
    to = PutChar(PutPair(to, dayFirst ? fields.tm_mday : month), '/');
    to = PutPair(to, dayFirst ? month : fields.tm_mday);
    return order == 2 ? to : PutYearOfCentury(PutChar(to, '/'), YearOf(fields));
  });
}

void LDateTime::GetTimeInLocalFormat(char* time) const {
  Write(seconds_, time, PutLongTime);
}

void LDateTime::GetTimeHHCMM(long t, char* time) {
  Write(t, time, PutShortTime);
}

void LDateTime::GetTimeHHHMMHSS(long t, char* time) {
  Write(t, time, [](char* to, const tm& fields) { return PutTime(to, fields, '-'); });
}
