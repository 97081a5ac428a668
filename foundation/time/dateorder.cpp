// SPDX-License-Identifier: MIT
// In which order the locale writes dates.
#include <langinfo.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <string_view>

#include "foundation/time/datetime.h"

namespace {

// Where a code such as "%d" begins; -1 when it is nowhere.
long Position(std::string_view format, std::string_view code) {
  const std::size_t position = format.find(code);
  return position == std::string_view::npos ? -1 : static_cast<long>(position);
}

long FirstPosition(std::string_view format, std::string_view lower, std::string_view upper) {
  const long ofLower = Position(format, lower);
  const long ofUpper = Position(format, upper);
  if (ofLower < 0) return ofUpper;
  return ofUpper < 0 ? ofLower : std::min(ofLower, ofUpper);
}

long MonthPosition(std::string_view format) {
  if (const long number = Position(format, "%m"); number >= 0) return number;
  if (const long name = FirstPosition(format, "%b", "%B"); name >= 0) return name;
  return Position(format, "%h");
}

long DayPosition(std::string_view format) {
  const long padded = Position(format, "%d");
  return padded >= 0 ? padded : Position(format, "%e");
}

}  // namespace

int LGetLocaleDateFormatOrder() {
  const std::string_view format = std::string_view(nl_langinfo(D_FMT)).substr(0, 259);
  if (Position(format, "%D") >= 0) return 0;
  const long month = MonthPosition(format);
  const long day = DayPosition(format);
  const long year = FirstPosition(format, "%y", "%Y");
  // A code that is missing lies before everything, deliberately: without a year the answer is 2.
  if (year < month && year < day) return 2;
  return month < day ? 0 : 1;
}

int LDateTime::DateFormatOrder() {
  static std::atomic<int> cached = -1;
  int order = cached.load(std::memory_order_relaxed);
  if (order < 0) {
    order = LGetLocaleDateFormatOrder();
    cached.store(order, std::memory_order_relaxed);
  }
  return order;
}
