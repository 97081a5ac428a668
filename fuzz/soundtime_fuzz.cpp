// SPDX-License-Identifier: MIT
// Sound times and decibels are read as a model reads them that looks at each field by itself, and
// what is written is read back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/time/soundtime.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

/// Up to which every product of the model is exact.
constexpr std::size_t kLongest = 14;

std::vector<std::string> SplitAtColons(const std::string& text) {
  std::vector<std::string> fields(1);
  for (const char c : text) {
    if (c == ':')
      fields.emplace_back();
    else
      fields.back() += c;
  }
  return fields;
}

/// Milliseconds of each field: before a point the digits are seconds, behind it tenths and so on.
/// The point counts for the fields behind it too, up to the third colon, where decimals begin anew.
std::int64_t ModelTime(const std::string& text) {
  std::int64_t sum = 0;
  int place = -1;  // of the next decimal; -1 before the point
  const std::vector<std::string> fields = SplitAtColons(text);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i >= 3) place = 0;
    std::string whole;
    std::string decimals = "000";
    for (const char c : fields[i]) {
      if (c == '.' && place < 0) place = 0;
      if (c < '0' || c > '9') continue;
      if (place < 0)
        whole += c;
      else if (place < 3)
        decimals[static_cast<std::size_t>(place++)] = c;
    }
    sum += std::atoll(whole.c_str()) * 1000 + std::atoll(decimals.c_str());
    if (i < 2 && i + 1 < fields.size()) sum *= 60;
  }
  return text.find('-') == std::string::npos ? sum : -sum;
}

bool ModelIsValid(std::string text, bool allowNegative) {
  if (allowNegative && text.starts_with('-')) text.erase(0, 1);
  const std::size_t point = text.find('.');
  const std::vector<std::string> fields = SplitAtColons(text);
  return text.find_first_not_of("0123456789.:") == std::string::npos && fields.size() <= 4 &&
         (point == std::string::npos || text.find_first_of(".:", point + 1) == std::string::npos);
}

void CheckRoundTrip(LSoundTime time) {
  char text[30];
  time._GetText(text);
  LSoundTime back;
  back.SetText(text);
  Require(back == time && LSoundTime::IsValid(text, true));
}

void CheckDecibels(const std::string& text) {
  LdB<signed char> read;
  read.SetText(text.c_str());
  std::string digits;
  bool isNegative = false;
  for (const char c : text) {
    if (c == '-') {
      if (isNegative) digits = "127";
      isNegative = true;
    } else if (c >= '0' && c <= '9') {
      digits += c;
    }
  }
  if (digits.size() > kLongest) return;
  const long long value = std::atoll(digits.c_str());
  Require(read == static_cast<signed char>(isNegative ? -value : value));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(std::string(reinterpret_cast<const char*>(data), size).c_str());
  LSoundTime time(1);
  time.SetText(text.c_str());
  if (text.size() <= kLongest) Require(time.Milliseconds() == ModelTime(text));
  for (const bool allowNegative : {false, true})
    Require(LSoundTime::IsValid(text.c_str(), allowNegative) == ModelIsValid(text, allowNegative));
  CheckRoundTrip(time);
  CheckDecibels(text);
  if (size >= sizeof(std::int64_t)) {
    std::int64_t milliseconds = 0;
    std::memcpy(&milliseconds, data, sizeof milliseconds);
    CheckRoundTrip(milliseconds);
  }
  return 0;
}
