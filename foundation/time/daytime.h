// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TIME_DAYTIME_H
#define ZORVEX_FOUNDATION_TIME_DAYTIME_H

/// A time of day: seconds since local midnight, 0 to 86399; nothing holds it to that range. A plain
/// number in and out, so that it is compared and reckoned with as one.
class LDayTime {
 public:
  constexpr LDayTime(int seconds = 0) : seconds_(seconds) {}
  constexpr operator int() const { return seconds_; }

 private:
  int seconds_;
};

/// A set of week days: bit n stands for day n of the C library's `tm_wday`. 0 is no day.
class LWeekDay {
 public:
  static constexpr int Sunday = 1;
  static constexpr int Monday = 2;
  static constexpr int Tuesday = 4;
  static constexpr int Wednesday = 8;
  static constexpr int Thursday = 16;
  static constexpr int Friday = 32;
  static constexpr int Saturday = 64;
  static constexpr int EveryDay = 127;

  constexpr LWeekDay(int days = 0) : days_(days) {}
  constexpr operator int() const { return days_; }

 private:
  int days_;
};

#endif  // ZORVEX_FOUNDATION_TIME_DAYTIME_H
