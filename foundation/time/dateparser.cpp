// SPDX-License-Identifier: MIT
#include "foundation/time/dateparser.h"

#include <cstddef>
#include <limits>

#include "foundation/time/datetime.h"
#include "foundation/time/localfields.h"

namespace {

using calendar::IsDigit;

// Numbers are put together unsigned, so that too many digits wrap.
void AppendDigit(unsigned int& number, char digit) {
  number = number * 10 + static_cast<unsigned int>(digit - '0');
}

bool IsSpace(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

const char* SkipSpace(const char* text) {
  while (IsSpace(*text))
    ++text;
  return text;
}

// The character behind the number, or null when there is none.
const char* ScanNumber(const char* text, int& number) {
  text = SkipSpace(text);
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') ++text;
  if (!IsDigit(*text)) return nullptr;
  constexpr unsigned long largest = std::numeric_limits<long>::max();
  const unsigned long limit = largest + (negative ? 1 : 0);
  unsigned long magnitude = 0;
  for (; IsDigit(*text); ++text) {
    const auto digit = static_cast<unsigned long>(*text - '0');
    const bool fits =
        magnitude < largest / 10 || (magnitude == largest / 10 && digit <= limit % 10);
    magnitude = fits ? magnitude * 10 + digit : limit;
  }
  number = static_cast<int>(negative ? 0 - magnitude : magnitude);
  return text;
}

// Where a date is being read: the even states 0, 2 and 4 stand before the first digit of a field,
// the odd ones within it; from `pastAll` on nothing is read.
class TypedDateReader {
 public:
  explicit TypedDateReader(int order) : order_(order) {}

  void Read(char character) {
    if (character == '-') {
      // Not a separator, deliberately.
      state_ = pastAll;
    } else if (character == '.' || character == '/' || character == ':' || character == '\\') {
      if (state_ < pastAll) state_ = (state_ & ~1) + 2;
    } else if (IsDigit(character) && state_ < pastAll) {
      unsigned int& field = CurrentField();
      if ((state_ & 1) == 0) {
        field = 0;
        ++state_;
      }
      AppendDigit(field, character);
    }
  }

  [[nodiscard]] bool HasDate() const { return state_ != 0; }
  [[nodiscard]] tm Fields() const {
    return calendar::FieldsOfDate(static_cast<int>(fields_[year]), static_cast<int>(fields_[month]),
                                  static_cast<int>(fields_[day]));
  }

 private:
  enum Field { year, month, day };
  static constexpr int pastAll = 6;

  unsigned int& CurrentField() {
    static constexpr Field orders[3][3] = {
        {month, day, year}, {day, month, year}, {year, month, day}};
    return fields_[orders[order_][state_ / 2]];
  }

  int order_;
  int state_ = 0;
  // A month that is missing stays 0, which is the December before: deliberate.
  unsigned int fields_[3] = {0, 0, 1};
};

}  // namespace

namespace calendar {

void ScanNumbers(const char* text, std::string_view separators, std::span<int> numbers) {
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (i > 0 && separators[i - 1] != ' ' && *text++ != separators[i - 1]) return;
    // White space is skipped in front of every number anyway.
    text = ScanNumber(text, numbers[i]);
    if (text == nullptr) return;
  }
}

bool ReadTypedDate(const char* text, int order, tm& fields) {
  TypedDateReader reader(order);
  for (; *text != '\0'; ++text)
    reader.Read(*text);
  if (!reader.HasDate()) return false;
  fields = reader.Fields();
  return true;
}

void ReadTypedTime(const char* text, tm& fields) {
  unsigned int numbers[3] = {};
  std::size_t current = 0;
  for (; *text != '\0' && current < 3; ++text) {
    if (*text == ':') {
      ++current;
    } else if (IsDigit(*text)) {
      AppendDigit(numbers[current], *text);
    }
  }
  fields.tm_hour = static_cast<int>(numbers[0]);
  fields.tm_min = static_cast<int>(numbers[1]);
  fields.tm_sec = static_cast<int>(numbers[2]);
}

tm FieldsOfCompilerDate(std::string_view date) {
  int month = 0;  // stays so for a name that is unknown, and becomes the December before
  for (int i = 0; i < 12; ++i)
    if (date.starts_with(LDateTime::szMonths[i])) month = i + 1;
  int day = 0;
  int year = 0;
  ScanNumber(date.data() + 4, day);
  ScanNumber(date.data() + 7, year);
  return FieldsOfDate(year, month, day);
}

}  // namespace calendar
