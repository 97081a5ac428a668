// SPDX-License-Identifier: MIT
// Any text is read and checked as by models of the same rules; any value can be written, and what
// is written fits.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "foundation/time/dateparser.h"
#include "fuzz/datemodel.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

// Buffers of just the sizes that are asked for.
void WriteAndShift(LDateTime value, int number) {
  char date[18], time[9], both[27], local[10];
  value.GetDateTime(date, time);
  value.GetDateTime(both);
  value.GetDateLocalFormat(local);
  const std::string joined = std::string(date) + " " + time;
  Require(both == (*date == '\0' ? std::string() : joined));
  Require((*date == '\0') == (*local == '\0'));

  const LDateTime shifted = value.AdjustByMonths(number);
  Require(*date != '\0' || value == 0 || shifted == 0);
  LDateTime other = value;
  other.SetDayTime(number);
  other = value;
  other._SetTextTime(std::to_string(number).c_str());
  Require(*date != '\0' || other == value);
  other.SetDateTime(number, number, number, number, number, number);
  static_cast<void>(LDateTime::GetNumberOfDaysInMonth(number, static_cast<int>(value)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool isSet = setenv("TZ", "UTC0", 1) == 0;
  Require(isSet);
  long value = 0;
  int number = 0;
  if (size >= 12) {
    std::memcpy(&value, data, 8);
    std::memcpy(&number, data + 8, 4);
    WriteAndShift(value >> (number & 31), number);
  }
  std::string text(reinterpret_cast<const char*>(data), size);
  text.resize(std::strlen(text.c_str()));
  Require(datemodel::Agrees(text));
  for (int order = 0; order < 3; ++order) {
    tm fields = {};
    long read = 0;
    if (calendar::ReadTypedDate(text.c_str(), order, fields)) {
      read = timegm(&fields) == -1 ? 7 : timegm(&fields);
    }
    Require(read == datemodel::TypedDate(text, order));
  }
  return 0;
}
