// SPDX-License-Identifier: MIT
#include "foundation/time/localfields.h"

namespace {

// 100 to 1899 are taken as years after 1900 like 70 to 99: deliberate.
int YearsSince1900(int yearAsWritten) {
  if (yearAsWritten <= 69) return yearAsWritten + 100;
  return yearAsWritten < 1900 ? yearAsWritten : yearAsWritten - 1900;
}

}  // namespace

namespace calendar {

tm FieldsOfDate(int year, int month, int day) {
  tm fields = {};
  fields.tm_year = YearsSince1900(year);
  fields.tm_mon = static_cast<int>(static_cast<unsigned int>(month) - 1U);  // wraps
  fields.tm_mday = day;
  fields.tm_isdst = -1;
  return fields;
}

long Store(long& seconds, tm fields) {
  const long result = mktime(&fields);
  if (result != -1) seconds = result;
  return result;
}

}  // namespace calendar
