// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <langinfo.h>
#include <unistd.h>

#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <thread>
#include <tuple>
#include <vector>

#include "foundation/time/dateparser.h"
#include "fuzz/datemodel.h"

namespace {
const char* localeFormat = "%m/%d/%y";
}

// In place of the C library's: the locales that a test would need are seldom installed.
extern "C" char* nl_langinfo(nl_item item) noexcept {
  return const_cast<char*>(item == D_FMT ? localeFormat : "");
}

namespace {

using Form = void (LDateTime::*)(char*) const;

void SetZone(const char* zone) {
  setenv("TZ", zone, 1);
  tzset();
}

std::string Text(LDateTime value, Form form = &LDateTime::GetDateTime) {
  char text[27];
  (value.*form)(text);
  return text;
}

LDateTime Of(const char* text) {
  LDateTime value = 7;
  value.SetDateYYYYHMMHDDTimeHHCMMCSS(text);
  return value;
}

void ExpectTexts(long value) {
  static const std::pair<Form, const char*> forms[] = {
      {&LDateTime::GetDateTimeInLocalFormat, "%Y-%m-%d %H:%M:%S"},
      {&LDateTime::GetDateYYYYHMMHDDTimeHHCMM, "%Y-%m-%d %H:%M"},
      {&LDateTime::GetDateInLocalFormat, "%Y-%m-%d"},
      {&LDateTime::_GetTextTime, "%H:%M:%S"},
      {&LDateTime::GetTimeHHCMM, "%H:%M"},
      {&LDateTime::GetTimeHHHMMHSS, "%H-%M-%S"},
  };
  tm fields;
  localtime_r(&value, &fields);
  for (const auto& [form, format] : forms) {
    char expected[40];
    strftime(expected, sizeof expected, format, &fields);
    ASSERT_EQ(Text(value, form), expected);
  }
  char date[11], time[6];
  LDateTime(value).GetDateYYYYHMMHDDTimeHHCMM(date, time);
  ASSERT_EQ(date + std::string(" ") + time, Text(value, &LDateTime::GetDateYYYYHMMHDDTimeHHCMM));
  ASSERT_EQ(LDateTime(value).GetWeekDay(), 1 << fields.tm_wday);
}

// The moment of what a clock on the wall shows, as if it were UTC.
long Moment(long wall) {
  tm fields;
  gmtime_r(&wall, &fields);
  fields.tm_isdst = -1;
  return mktime(&fields);
}

// Sets it in all ways.
void ExpectSetting(long wall) {
  tm fields;
  gmtime_r(&wall, &fields);
  char text[40];
  strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields);
  ASSERT_EQ(Of(text), Moment(wall));
  LDateTime value;
  ASSERT_EQ(value.SetDateTime(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday,
                              fields.tm_hour, fields.tm_min, fields.tm_sec),
            Moment(wall));
  ASSERT_EQ(value, Moment(wall));

  const long dayTime = fields.tm_hour * 3600 + fields.tm_min * 60 + fields.tm_sec;
  LDateTime noon;
  noon.SetDateTimeNoon(text);
  ASSERT_EQ(noon, Moment(wall - dayTime + 43200));
  ASSERT_EQ(noon.GetDayTime(), 43200);
  value = noon;
  value.SetDayTime(static_cast<int>(dayTime));
  ASSERT_EQ(value, Moment(wall));
  value = noon;
  value._SetTextTime(text + 11);
  ASSERT_EQ(value - noon, dayTime - 43200);  // by the clock of noon, whatever holds at that time

  const int months = static_cast<int>(wall % 61), day = fields.tm_mday;
  fields.tm_mday = 1;
  fields.tm_mon += months;
  tm next = fields;
  next.tm_mon += 1;
  const long first = timegm(&fields), last = timegm(&next) - 86400;
  ASSERT_EQ(noon.AdjustByMonths(months),
            Moment(std::min(first + (day - 1) * 86400L, last) - dayTime + 43200));
}

TEST(DateTime, AgreesWithTheClocksOfAllZones) {
  std::mt19937_64 random(1);
  std::uniform_int_distribution<long> seconds(-365 * 86400L, 50403 * 86400L);  // 1969 to 2107
  // Rules instead of names, so that no zone files are needed.
  for (const char* zone : {"UTC0", "IST-5:30", "CET-1CEST,M3.5.0,M10.5.0/3",
                           "EST5EDT,M3.2.0,M11.1.0", "NST3:30NDT,M3.2.0,M11.1.0",
                           "AEST-10AEDT,M10.1.0,M4.1.0/3", "LHST-10:30LHDT-11,M10.1.0,M4.1.0"}) {
    SCOPED_TRACE(zone);
    SetZone(zone);
    for (int i = 0; i < 4500 && !testing::Test::HasFatalFailure(); ++i) {
      // Every 45 minutes of the two times of the year 2013 when clocks change, and any time.
      const long month = i % 2 == 0 ? 1362096000 : 1380585600;  // March, October
      const long wall = i % 8 == 0 ? seconds(random) : month + i / 2 * 2700L;
      ExpectTexts(wall);
      ExpectSetting(wall);
    }
  }
}

TEST(DateTime, UnusualValues) {
  SetZone("UTC0");
  const std::tuple<long, const char*, const char*> rows[] = {
      {0, "", ""},
      {-62167219201, "-0001-12-31 23:59:59", "12/31/-01"},
      {-62135596801, "0000-12-31 23:59:59", "12/31/00"},
      {253402300800, "10000-01-01 00:00:00", "01/01/00"},
      {67768036191676799, "2147485547-12-31 23:59:59", "12/31/47"},
      {67768036191676800, "", ""},
      {-67768040609740800, "-2147481748-01-01 00:00:00", "01/01/-48"},
      {std::numeric_limits<long>::min(), "", ""}};
  for (const auto& [value, text, local] : rows) {
    EXPECT_EQ(Text(value), text);
    EXPECT_EQ(Text(value, &LDateTime::GetDateLocalFormat), local);
    LDateTime other = value;
    other._SetTextTime("1");
    EXPECT_TRUE(*text != '\0' || (other == value && other.GetDayTime() == 0));
  }
  EXPECT_EQ(LDateTime().GetWeekDay(), LWeekDay::Thursday);
  LDateTime today;
  today.SetDayTime(3600);
  EXPECT_NEAR(static_cast<double>(today), static_cast<double>(time(nullptr)), 86400);
  // So tight that a look behind the end is one behind the buffer.
  const std::unique_ptr<char[]> date(new char[5]{'2', '0', '1', '2', '\0'});
  EXPECT_EQ(Text(Of(date.get())), "2012-01-01 00:00:00");
}

TEST(DateTime, TypedTimes) {
  SetZone("CET-1CEST,M3.5.0,M10.5.0/3");
  const char* const rows[][3] = {
      {"05-3-7", ":", "2005-03-07 00:00:00"},
      {"1850-1-1", "23:59:59", "3750-01-01 23:59:59"},
      {"2012-05-06", "a1 2b:-3::4:5", "2012-05-06 12:03:00"},
      {"2012-05-06", "25:61:62", "2012-05-07 02:02:02"},
      {"2012-05-06", "4294967297", "2012-05-06 01:00:00"},
      {"2013-03-31 01:00", "12:00", "2013-03-31 13:00:00"},  // begun in winter
      {nullptr, "12:00", ""},
  };
  for (const auto& [old, time, expected] : rows) {
    LDateTime value = Of(old);
    value._SetTextTime(time);
    EXPECT_EQ(Text(value), expected);
  }
}

TEST(DateTime, MonthsAreShifted) {
  SetZone("UTC0");
  const std::tuple<const char*, int, const char*> rows[] = {
      {"2013-01-31", 1, "2013-02-28 00:00:00"},
      {"2013-01-15", -13, "2011-12-15 00:00:00"},
      {"1900-01-01", -1, "3799-12-01 00:00:00"},  // 1899 by the rule of years
      {"2013-01-15", std::numeric_limits<int>::max(), "178958983-08-15 00:00:00"},
      {"2013-01-15", std::numeric_limits<int>::min(), "-178952958-05-15 00:00:00"},
      {"2147483647-01-01", 12, ""},
      {"", 1, "1970-02-01 00:00:00"},
  };
  for (const auto& [from, months, expected] : rows)
    EXPECT_EQ(Text(Of(from).AdjustByMonths(months)), expected) << from;
  EXPECT_EQ(LDateTime::GetNumberOfDaysInMonth(2012, 0) + LDateTime::GetNumberOfDaysInMonth(1, 13),
            0);
}

// What random text seldom holds.
const char* const texts =
    "2039-01-01;1969-12-31 0:0:0;2013-02-29 0:0:0;12-1-1 0:0:0;2012-1 -1 0:0:0;2012-02-29;"
    "2012-1-1 24:0:0;2012-1-1 0:0;2012-1-1 -1:0:0;1970-1-1 0:0:0;2038-12-31 23:59:59;;-;none;"
    "2012-1-1+1:02:03z; 2012- 1-\n1\t1: 2: 3;1969-12-31 23:59:59;2012-99999999999999999999-1;"
    "2000-2-29 0:0:0;2012-1-1 0:0:60;2012-1-1 0:60:0";

// Each order of dates in a process of its own, as it is asked for once.
TEST(DateTime, ReadsLikeTheModels) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  SetZone("UTC0");
  const char* const rows[][4] = {
      {"%m/%d/%y", "05/06/12", "31/12/2012", "2014-07-12 00:00:00"},
      {"%d.%m.%Y", "06/05/12", "1 2.5/2012/7", "2012-05-12 00:00:00"},
      {"%Y-%m-%d", "12/05/06", "2012-05-06", "2011-12-01 00:00:00"},
  };
  for (const auto& [format, local, typed, expected] : rows) {
    const auto body = [&] {
      LDateTime none = 7;
      none._SetTextDate("");
      EXPECT_EQ(Text(none, &LDateTime::GetDateLocalFormat), "");
      localeFormat = format;  // early enough: nothing has been asked for the order
      EXPECT_EQ(Text(Of("2012-05-06"), &LDateTime::GetDateLocalFormat), local);
      LDateTime value;
      value._SetTextDate(typed);
      EXPECT_EQ(Text(value), expected);
      localeFormat = "%D";
      std::istringstream list(texts);
      for (std::string text; std::getline(list, text, ';');)
        EXPECT_TRUE(datemodel::Agrees(text)) << text;
      std::mt19937 random(2);
      for (int i = 0; i < 15000; ++i) {
        char text[60] = "";
        if (i % 2 == 0) snprintf(text, sizeof text, "%d-%d-%d", 1968 + i % 73, i % 14, i % 33);
        for (unsigned long left = random() % 30; left > 0; --left)
          text[strlen(text)] = "0123456789012345678912345+----::...//\\ \tx"[random() % 41];
        ASSERT_TRUE(datemodel::Agrees(text)) << text;
      }
      fflush(stdout);
      _exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(body(), testing::ExitedWithCode(0), "") << format;
  }
}

TEST(DateTime, LocaleOrders) {
  const std::string cut = "%d/%m/%Y" + std::string(251, ' ') + "%D";
  // What is missing lies before everything.
  const std::vector<const char*> formats[] = {
      {"%m/%d/%y", "%D", "%y %D", "%B %e, %Y", "%d %Y", "%B %d %b %Y", "%b %d %B %Y"},
      {"%d.%m.%Y", "%e %b %Y", "%b %d %m %y", "%-d.%-m.%Y", "%m %Y", "%d %Y %m", "", cut.c_str()},
      {"%Y-%m-%d", "%y/%h/%d", "%m/%d", "%d/%m"},
  };
  for (int order = 0; order < 3; ++order)
    for (const char* format : formats[order]) {
      localeFormat = format;
      EXPECT_EQ(LGetLocaleDateFormatOrder(), order) << format;
    }
}

TEST(DateTime, Schedules) {
  const auto isActive = [](long start, long end, int from, int to, int time, int days, int day) {
    return LDateTime::TestScheduleDetails(1000, time, day, start, end, from, to, days);
  };
  const int times[] = {0, 1, 21599, 21600, 79199, 79200, 82800, 86399};
  for (const int from : times)
    for (const int to : times)
      for (const int time : times) {
        const auto sinceFrom = [&](int other) { return (other - from + 86400) % 86400; };
        EXPECT_EQ(isActive(0, 0, from, to, time, 127, 1), sinceFrom(time) < sinceFrom(to));
      }
  const int rows[][4] = {{1000, 1001, 127, 1}, {-5, -1, 127, 1},  {0, 0, 128, 128},
                         {1001, 0, 127, 1},    {0, 1000, 127, 1}, {0, 1, 127, 1},
                         {0, 0, 63, 64},       {0, 0, 256, 256}};
  for (const auto& row : rows)
    EXPECT_EQ(isActive(row[0], row[1], 0, 9, 5, row[2], row[3]), &row < rows + 3) << &row - rows;
}

TEST(DateTime, BuildDateIsAMidnight) {
  SetZone("NST3:30NDT,M3.2.0,M11.1.0");
  const char* const rows[][2] = {{"May  6 2012", "2012-05-06 00:00:00"},
                                 {"Foo 31 2012", "2011-12-31 00:00:00"}};
  for (const auto& [compiler, expected] : rows) {
    tm fields = calendar::FieldsOfCompilerDate(compiler);
    EXPECT_EQ(Text(mktime(&fields)), expected);
  }
  EXPECT_EQ(Text(LDateTime::GetBuildDate(), &LDateTime::_GetTextTime), "00:00:00");
}

TEST(DateTime, ThreadsDoNotDisturbEachOther) {
  SetZone("CET-1CEST,M3.5.0,M10.5.0/3");
  std::vector<std::jthread> threads;
  for (const char* typed : {"01/02/10", "03/31/11", "10/27/12"})
    threads.emplace_back([typed] {
      LDateTime value;
      for (int i = 0; i < 1000; ++i)
        value._SetTextDate(typed);
      EXPECT_EQ(Text(value, &LDateTime::GetDateLocalFormat), typed);
    });
}

}  // namespace
