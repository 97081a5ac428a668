// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TIME_LOCALFIELDS_H
#define ZORVEX_FOUNDATION_TIME_LOCALFIELDS_H

#include <time.h>

/// \file
/// Between a value and its calendar fields in local time. Every conversion is one call of the C
/// library. Nothing is kept from one to the next: which local time holds may change under us
/// (tzset, or any mktime after a change of TZ or of the system's zone file), and nothing that can
/// be read tells that it did.

static_assert(sizeof(time_t) == sizeof(long));

namespace calendar {

/// False, and `fields` undefined, when the year does not fit.
inline bool BreakDown(long seconds, tm& fields) {
  return localtime_r(&seconds, &fields) != nullptr;
}

/// Midnight of a day, daylight saving to be found out. `month` is counted from 1; 0 becomes
/// December of the year before. The year is as written.
tm FieldsOfDate(int year, int month, int day);

/// Stores the moment of the fields unless `mktime` answers -1, and answers the same.
long Store(long& seconds, tm fields);

}  // namespace calendar

#endif  // ZORVEX_FOUNDATION_TIME_LOCALFIELDS_H
