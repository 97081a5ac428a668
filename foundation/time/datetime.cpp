// SPDX-License-Identifier: MIT
#include "foundation/time/datetime.h"

#include <cstdlib>
#include <cstring>
#include <limits>

#include "foundation/time/dateparser.h"
#include "foundation/time/localfields.h"

namespace {

const char* OrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

// Midnight of the year-month-day that a text begins with.
tm ReadDate(const char* date) {
  int numbers[] = {0, 1, 1};
  calendar::ScanNumbers(date, "--", numbers);
  return calendar::FieldsOfDate(numbers[0], numbers[1], numbers[2]);
}

void SetTime(tm& fields, int hour, int minute, int second) {
  fields.tm_hour = hour;
  fields.tm_min = minute;
  fields.tm_sec = second;
}

bool IsWithin(int value, int first, int last) {
  return value >= first && value <= last;
}

// Of year, month, day.
bool IsValidDate(const int* numbers) {
  return IsWithin(numbers[0], 1970, 2038) && IsWithin(numbers[1], 1, 12) &&
         IsWithin(numbers[2], 1, LDateTime::GetNumberOfDaysInMonth(numbers[0], numbers[1]));
}

}  // namespace

void LDateTime::SetDateTime(long& t, const char* date, const char* time) {
  date = OrEmpty(date);
  if (*date == '\0') {
    t = 0;
    return;
  }
  tm fields = ReadDate(date);
  int numbers[] = {0, 0, 0};
  calendar::ScanNumbers(OrEmpty(time), "::", numbers);
  SetTime(fields, numbers[0], numbers[1], numbers[2]);
  calendar::Store(t, fields);
}

void LDateTime::SetDateTimeNoon(long& t, const char* date) {
  SetDateTime(t, date, "12:00:00");
}

void LDateTime::SetDateYYYYHMMHDDTimeHHCMMCSS(long& t, const char* text) {
  constexpr std::size_t timeBegins = 11;
  const bool hasTime = strnlen(OrEmpty(text), timeBegins) == timeBegins;
  SetDateTime(t, text, hasTime ? text + timeBegins : "");
}

long LDateTime::SetDateTime(long& t, int year, int month, int day, int hour, int minute,
                            int second) {
  tm fields = calendar::FieldsOfDate(year, month, day);
  SetTime(fields, hour, minute, second);
  return calendar::Store(t, fields);
}

void LDateTime::_SetTextDate(const char* text) {
  text = OrEmpty(text);
  tm fields;
  // The order is kept from the first date on, not from an empty text before it.
  if (*text != '\0' && calendar::ReadTypedDate(text, DateFormatOrder(), fields)) {
    calendar::Store(seconds_, fields);
  } else {
    seconds_ = 0;
  }
}

void LDateTime::_SetTextTime(const char* text) {
  tm fields;
  if (seconds_ == 0 || !calendar::BreakDown(seconds_, fields)) return;
  // Daylight saving stays as it was at the old time, deliberately.
  calendar::ReadTypedTime(OrEmpty(text), fields);
  calendar::Store(seconds_, fields);
}

void LDateTime::SetDayTime(LDayTime seconds) {
  if (seconds_ == 0) seconds_ = time(nullptr);
  tm fields;
  if (!calendar::BreakDown(seconds_, fields)) return;
  SetTime(fields, seconds / 3600, seconds / 60 % 60, seconds % 60);
  fields.tm_isdst = -1;
  calendar::Store(seconds_, fields);
}

LDayTime LDateTime::GetDayTime() const {
  tm fields;
  if (seconds_ == 0 || !calendar::BreakDown(seconds_, fields)) return 0;
  return fields.tm_hour * 3600 + fields.tm_min * 60 + fields.tm_sec;
}

LWeekDay LDateTime::GetWeekDay() const {
  tm fields;
  // 0 is not told apart from other values, deliberately.
  return calendar::BreakDown(seconds_, fields) ? 1 << fields.tm_wday : 0;
}

LDateTime LDateTime::AdjustByMonths(int months) const {
  tm fields;
  if (!calendar::BreakDown(seconds_, fields)) return 0;
  long year = fields.tm_year + 1900L;
  long month = fields.tm_mon + 1L + months;
  if (month >= 13) {
    year += (month - 1) / 12;
    month = (month - 1) % 12 + 1;
  } else if (month <= 0) {
    year += month / 12 - 1;
    month = 12 + month % 12;
  }
  if (year < std::numeric_limits<int>::min() || year > std::numeric_limits<int>::max()) return 0;
  const int newYear = static_cast<int>(year);
  const int newMonth = static_cast<int>(month);
  const int lastDay = GetNumberOfDaysInMonth(newYear, newMonth);
  LDateTime result;
  result.SetDateTime(newYear, newMonth, fields.tm_mday < lastDay ? fields.tm_mday : lastDay,
                     fields.tm_hour, fields.tm_min, fields.tm_sec);
  return result;
}

int LDateTime::GetNumberOfDaysInMonth(int year, int month) {
  if (!IsWithin(month, 1, 12)) return 0;
  if (month == 2) return IsLeapYear(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

bool LDateTime::IsLeapYear(int year) {
  return year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
}

LDateTime LDateTime::GetBuildDate() {
  LDateTime result;
  // The compiler takes this date from SOURCE_DATE_EPOCH when that is set (gcc from 7, clang from
  // 16), so that the same sources give the same library on any day.
  calendar::Store(result.seconds_, calendar::FieldsOfCompilerDate(__DATE__));
  return result;
}

bool LDateTime::ValidateDateYYYYHMMHDD(const char* text) {
  text = OrEmpty(text);
  if (*text == '\0') return true;
  int numbers[] = {0, 0, 0};
  calendar::ScanNumbers(text, "--", numbers);
  return IsValidDate(numbers);
}

bool LDateTime::ValidateDateTimeYYYYHMMHDDHHCMMCSS(const char* text) {
  int numbers[] = {0, 0, 0, -1, -1, -1};
  calendar::ScanNumbers(OrEmpty(text), "-- ::", numbers);
  return IsValidDate(numbers) && IsWithin(numbers[3], 0, 23) && IsWithin(numbers[4], 0, 59) &&
         IsWithin(numbers[5], 0, 59);
}

bool LDateTime::TestScheduleDetails(LDateTime now, LDayTime nowTime, LWeekDay nowDay,
                                    LDateTime start, LDateTime end, LDayTime from, LDayTime to,
                                    LWeekDay days) {
  if (start > now || (end >= 1 && end <= now)) return false;
  const bool begun = nowTime >= from;
  const bool notOver = nowTime < to;
  const bool overMidnight = from > to;
  if (overMidnight ? !begun && !notOver : !begun || !notOver) return false;
  return (days & nowDay & 0xff) != 0;
}
