// SPDX-License-Identifier: MIT
// What the fuzz target and the test hold the reading of dates against, where local time is UTC:
// sscanf, timegm, and texts taken apart instead of run over.
#ifndef ZORVEX_FUZZ_DATEMODEL_H
#define ZORVEX_FUZZ_DATEMODEL_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>

#include "foundation/time/datetime.h"

namespace datemodel {

/// The value set from these numbers; 7, which was set before, where that fails.
inline long Moment(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  tm fields = {};
  fields.tm_year = year < 70 ? year + 100 : year < 1900 ? year : year - 1900;
  fields.tm_mon = static_cast<int>(month - 1L);
  fields.tm_mday = day;
  fields.tm_hour = hour;
  fields.tm_min = minute;
  fields.tm_sec = second;
  const long value = timegm(&fields);
  return value == -1 ? 7 : value;
}

inline long TypedDate(std::string text, int order) {
  if (text.find_first_of("0123456789-./:\\") == std::string::npos) return 0;
  text.resize(std::min(text.size(), text.find('-')));
  const char* const letters = order == 0 ? "mdy" : order == 1 ? "dmy" : "ymd";
  std::uint32_t year = 0, month = 0, day = 1;
  std::size_t begin = 0;
  for (int i = 0; i < 3 && begin <= text.size(); ++i) {
    const std::size_t end = std::min(text.size(), text.find_first_of("./:\\", begin));
    std::string digits = text.substr(begin, end - begin);
    std::erase_if(digits, [](char character) { return character < '0' || character > '9'; });
    std::uint32_t& field = letters[i] == 'y' ? year : letters[i] == 'm' ? month : day;
    if (!digits.empty()) field = 0;
    for (const char digit : digits)
      field = field * 10 + static_cast<std::uint32_t>(digit - '0');
    begin = end + 1;
  }
  return Moment(static_cast<int>(year), static_cast<int>(month), static_cast<int>(day));
}

/// Numbers that no int holds are left to glibc here.
inline long DateTime(const char* date, const char* time) {
  int year = 0, month = 1, day = 1, hour = 0, minute = 0, second = 0;
  if (std::sscanf(date, "%d-%d-%d", &year, &month, &day) < 0 && *date == '\0') return 0;
  if (std::sscanf(time, "%d:%d:%d", &hour, &minute, &second) < 0) hour = 0;
  return Moment(year, month, day, hour, minute, second);
}

/// 0 when the text is no date, 1 when it begins with one, 2 when with a date and time.
inline int Validity(const char* text) {
  tm date = {};
  int hour = -1, minute = -1, second = -1;
  const int count = std::sscanf(text, "%d-%d-%d %d:%d:%d", &date.tm_year, &date.tm_mon,
                                &date.tm_mday, &hour, &minute, &second);
  if (count < 3 || date.tm_year < 1970 || date.tm_year > 2038) return *text == '\0';
  date.tm_year -= 1900;
  tm normal = date;
  normal.tm_mon = static_cast<int>(date.tm_mon - 1L);
  timegm(&normal);
  if (normal.tm_mon != date.tm_mon - 1L || normal.tm_mday != date.tm_mday) return 0;
  const auto isBelow = [](int value, int limit) { return value >= 0 && value < limit; };
  return isBelow(hour, 24) && isBelow(minute, 60) && isBelow(second, 60) ? 2 : 1;
}

/// Whether the library reads a text like that.
inline bool Agrees(const std::string& text) {
  const char* const all = text.c_str();
  LDateTime typed = 7, noon = 7, both = 7, time = 7;
  typed._SetTextDate(all);
  noon.SetDateTimeNoon(all);
  both.SetDateYYYYHMMHDDTimeHHCMMCSS(all);
  time.SetDateTime("2012-5-6", all);
  return typed == TypedDate(text, LDateTime::DateFormatOrder()) && noon == DateTime(all, "12") &&
         both == DateTime(all, text.size() > 11 ? all + 11 : "") &&
         time == DateTime("2012-5-6", all) &&
         LDateTime::ValidateDateYYYYHMMHDD(all) == (Validity(all) > 0) &&
         LDateTime::ValidateDateTimeYYYYHMMHDDHHCMMCSS(all) == (Validity(all) > 1);
}

}  // namespace datemodel

#endif  // ZORVEX_FUZZ_DATEMODEL_H
