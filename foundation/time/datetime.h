// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TIME_DATETIME_H
#define ZORVEX_FOUNDATION_TIME_DATETIME_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/time/daytime.h>

/// A date with a time of day: seconds since 1970-01-01 00:00:00 UTC, read and set in local time.
///
/// The value 0 is no date: its text is empty, and empty text sets it. A value whose year the C
/// library cannot hold (it is about 2^31 years away) has no text either, and no time of day.
///
/// **Local time** is that of the C library's `localtime_r` and `mktime`, which also decide when a
/// changed TZ takes effect. Where the clock is set back, either of the two moments may be what a
/// text stands for; a text that the clock leaves out gives a moment next to the gap. Daylight
/// saving is left to `mktime`.
///
/// **Years** are by one rule wherever a date is made of numbers or of text: 0 to 69 and everything
/// below are years after 2000, 70 to 1899 are years after 1900, and only 1900 and above are meant
/// in full. So 12 is 2012, 99 is 1999, and, on purpose, 1850 is 3750.
///
/// **Setting** normalises what is out of range (month 13 is January of the next year) and leaves
/// the value as it was when `mktime` answers -1. That is also its answer to the second before 1970
/// UTC, which therefore cannot be set.
///
/// **Text written** goes into a caller's buffer, whose room is told in bytes with the terminator:
/// 18 for a date, 9 for a time, 27 for both. The date takes 11 while the year has four digits;
/// later years have more, and years before the year 0 a minus sign: "-0044-03-15".
///
/// **Text read** must be terminated; a null pointer counts as the empty text. A number may have
/// blanks and a sign in front, as for `sscanf`, and wraps at 32 bits; beyond 64 it is -1 or, with a
/// minus sign, 0. What somebody typed (_SetTextDate, _SetTextTime) has no signs and only wraps.
///
/// Threads: a value is for one thread at a time, everything else may be called from any thread,
/// but, as `mktime` and `nl_langinfo`, not beside a `setenv` or a `setlocale`.
class ZORVEX_API LDateTime {
 public:
  /// English names of the months, January first; the texts of dates use them in every locale.
  static constexpr const char* szMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  static constexpr const char* szMonthsLong[] = {"January",   "February", "March",    "April",
                                                 "May",       "June",     "July",     "August",
                                                 "September", "October",  "November", "December"};
  /// The null entry ends the list.
  static constexpr const char* szWeekDays[] = {"Sun", "Mon", "Tue", "Wed",
                                               "Thu", "Fri", "Sat", nullptr};

  constexpr LDateTime(long seconds = 0) : seconds_(seconds) {}
  constexpr operator long() const { return seconds_; }

  /// \name Text
  /// @{

  /// "2012-05-06" and "07:08:09".
  static void GetDateTime(long t, char* date, char* time);
  void GetDateTime(char* date, char* time) const { GetDateTime(seconds_, date, time); }
  /// "2012-05-06 07:08:09".
  void GetDateTime(char* text) const;
  /// The same as GetDateTime, in spite of its name, on purpose.
  void GetDateTimeInLocalFormat(char* text) const { GetDateTime(text); }

  /// "2012-05-06" and "07:08"; this time takes 6 bytes.
  static void GetDateYYYYHMMHDDTimeHHCMM(long t, char* date, char* time);
  void GetDateYYYYHMMHDDTimeHHCMM(char* date, char* time) const {
    GetDateYYYYHMMHDDTimeHHCMM(seconds_, date, time);
  }
  /// "2012-05-06 07:08".
  void GetDateYYYYHMMHDDTimeHHCMM(char* text) const;

  /// "2012-05-06" in every locale, in spite of its name, on purpose.
  void GetDateInLocalFormat(char* date) const;
  /// "05/06/12", "06/05/12" or "12/05/06", by DateFormatOrder. Takes 10 bytes; 9 from the year 0
  /// on. The year is the remainder of 100, which is negative before the year 0: "-44".
  void GetDateLocalFormat(char* date) const;

  /// "07:08:09".
  void GetTimeInLocalFormat(char* time) const;
  /// The same.
  void _GetTextTime(char* time) const { GetTimeInLocalFormat(time); }
  /// "07:08", in 6 bytes.
  static void GetTimeHHCMM(long t, char* time);
  void GetTimeHHCMM(char* time) const { GetTimeHHCMM(seconds_, time); }
  /// "07-08-09", for file names.
  static void GetTimeHHHMMHSS(long t, char* time);
  void GetTimeHHHMMHSS(char* time) const { GetTimeHHHMMHSS(seconds_, time); }

  /// @}
  /// \name Setting
  /// @{

  /// Reads year-month-day and hour:minute:second. Reading ends where the text is not of that form;
  /// what was not read is 1 for month and day, 0 for the year and the time. An empty date sets 0.
  static void SetDateTime(long& t, const char* date, const char* time);
  void SetDateTime(const char* date, const char* time) { SetDateTime(seconds_, date, time); }
  /// The same for the noon of a date.
  static void SetDateTimeNoon(long& t, const char* date);
  void SetDateTimeNoon(const char* date) { SetDateTimeNoon(seconds_, date); }
  /// The same for a text that has the time from its twelfth character on, as "2012-05-06 07:08:09"
  /// has; a shorter one is midnight.
  static void SetDateYYYYHMMHDDTimeHHCMMCSS(long& t, const char* text);
  void SetDateYYYYHMMHDDTimeHHCMMCSS(const char* text) {
    SetDateYYYYHMMHDDTimeHHCMMCSS(seconds_, text);
  }

  /// Sets the date and time of these numbers, month and day counted from 1. Answers what `mktime`
  /// does: the new value, or -1.
  static long SetDateTime(long& t, int year, int month, int day, int hour, int minute, int second);
  long SetDateTime(int year, int month, int day, int hour, int minute, int second) {
    return SetDateTime(seconds_, year, month, day, hour, minute, second);
  }

  /// Sets midnight of a date that somebody typed, its fields in the order of DateFormatOrder.
  ///
  /// '.', '/', ':' and '\\' end a field. All other characters are passed over and end nothing, so
  /// that "12 5" is 125; further fields are ignored. A hyphen ends the date: of "2012-05-06" only
  /// the first field is read, on purpose. Text without a digit and without any of these sets 0.
  ///
  /// A day that is missing is 1, a year 0 (which is 2000); a month that is missing, or 0, is
  /// December of the year before.
  void _SetTextDate(const char* text);

  /// Sets the time of day and keeps the date. No date stays no date. Digits before the first ':'
  /// are the hour, then come minute and second; all that is no digit is passed over, and the empty
  /// text is midnight. On purpose the time is taken as being in daylight saving if the value was:
  /// on a day that the clock changes, a time beyond the change comes out shifted by it.
  void _SetTextTime(const char* text);

  /// Sets the time of day and keeps the date, which is today's if there was none.
  void SetDayTime(LDayTime seconds);

  /// @}
  /// \name Calendar
  /// @{

  /// 0 for no date.
  [[nodiscard]] LDayTime GetDayTime() const;
  /// One day; for the value 0 that of 1970-01-01 00:00 UTC in local time. No day only for a value
  /// whose year cannot be held.
  [[nodiscard]] LWeekDay GetWeekDay() const;

  /// The same time so many months later, or earlier, on the same day of the month or, where there
  /// is none, the last one. The value 0 is shifted like any other. No date (0) is the answer when
  /// the result cannot be set; years below 1900 go by the rule of years.
  [[nodiscard]] LDateTime AdjustByMonths(int months) const;

  /// Of the Gregorian calendar, months counted from 1; 0 for a month that does not exist. The year
  /// is meant in full.
  [[nodiscard]] static int GetNumberOfDaysInMonth(int year, int month);
  /// Whether the year, meant in full, has a 29th of February.
  [[nodiscard]] static bool IsLeapYear(int year);

  /// The day on which the library was built, its midnight in local time.
  [[nodiscard]] static LDateTime GetBuildDate();

  /// @}
  /// \name Checks
  /// @{

  /// Whether the text begins with year-month-day of an existing day from 1970 to 2038. The empty
  /// text is valid, on purpose: it is no date.
  [[nodiscard]] static bool ValidateDateYYYYHMMHDD(const char* text);
  /// Whether the text begins with such a date and an hour:minute:second. The empty text is not
  /// valid here.
  [[nodiscard]] static bool ValidateDateTimeYYYYHMMHDDHHCMMCSS(const char* text);

  /// Whether an entry of a schedule is active. It is
  ///  - from `start` on, and before `end` if that is above 0;
  ///  - daily for `from` <= time < `to`, over midnight when `from` is the later one, and never when
  ///    they are equal;
  ///  - on `days`, of whose bits the lowest eight count. After midnight that is the new day.
  /// `nowTime` and `nowDay` belong to `now`.
  [[nodiscard]] static bool TestScheduleDetails(LDateTime now, LDayTime nowTime, LWeekDay nowDay,
                                                LDateTime start, LDateTime end, LDayTime from,
                                                LDayTime to, LWeekDay days);

  /// LGetLocaleDateFormatOrder when first asked; the process keeps that answer.
  [[nodiscard]] static int DateFormatOrder();

  /// @}

 private:
  long seconds_;
};

/// The order in which the current locale (LC_TIME) writes a date: 0 is month, day, year; 1 is day,
/// month, year; 2 is year, month, day. As `nl_langinfo`, it must not run beside a `setlocale`.
ZORVEX_API int LGetLocaleDateFormatOrder();

#endif  // ZORVEX_FOUNDATION_TIME_DATETIME_H
