// SPDX-License-Identifier: MIT
// What this library prints is what the C library prints, for every specification that both know, in
// the "C" locale and in one with a decimal comma where there is one. Every other format is
// harmless.
#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "foundation/text/stringformat.h"

namespace {

#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

void Require(bool condition) {
  if (!condition) std::abort();
}

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

  template <typename Type>
  Type Next() {
    Type value{};
    const std::size_t count = std::min(sizeof value, static_cast<std::size_t>(end_ - next_));
    std::memcpy(&value, next_, count);
    next_ += count;
    return value;
  }
  unsigned int Below(unsigned int limit) { return Next<std::uint16_t>() % limit; }
  std::string Rest() { return {next_, end_}; }

 private:
  const std::uint8_t* next_;
  const std::uint8_t* end_;
};

// All targets get the same text, cut where they end.
template <typename... Arguments>
void Compare(const std::string& specification, Arguments... arguments) {
  const std::string format = "ab" + specification + "|";
  char expected[4096];
  std::snprintf(expected, sizeof expected, specification.c_str(), arguments...);
  const std::string text = "ab" + std::string(expected).substr(0, 271) + "|";

  char buffer[512];
  for (const std::size_t size : {sizeof buffer, std::size_t{2}, text.size() / 2 + 1}) {
    Require(tplsnprintf(buffer, size, format.c_str(), arguments...) ==
            std::min(text.size(), size - 1));
    Require(text.substr(0, size - 1) == buffer);
  }
  LStringLongTemplate<char> string("0123456789");
  Require(tsprintfappend(string, format.c_str(), arguments...) == text.size() + 10);
  Require(text == string.Text() + 10);
  Require(sprintf(string, format.c_str(), arguments...) == text.size() && text == string.Text());
}

std::string Number(Input& input) {
  return std::to_string(input.Below(input.Below(4) == 0 ? 400 : 24));
}

void CompareInteger(const std::string& start, char conversion, std::uint64_t value, int modifier) {
  switch (modifier) {
    case 0:
      return Compare(start + conversion, static_cast<unsigned int>(value));
    case 1:
      return Compare(start + "l" + conversion, static_cast<unsigned long>(value));
    case 2:
      return Compare(start + "z" + conversion, static_cast<std::size_t>(value));
    default:
      return Compare(start + (modifier == 3 ? "ll" : "L") + conversion, value);
  }
}

void CompareOne(Input& input) {
  static const bool comma = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
  if (comma) std::setlocale(LC_NUMERIC, input.Below(2) == 0 ? "C" : "de_DE.UTF-8");
  std::string start = "%";
  if (input.Below(3) == 0) start += "0";
  if (input.Below(2) == 0) start += Number(input);
  const bool precise = input.Below(2) == 0;
  if (precise) start += "." + Number(input);
  const char conversion = "diuxXocpefgefgf"[input.Below(15)];
  const auto value = input.Next<std::uint64_t>() >> input.Below(64);
  switch (conversion) {
    case 'c':
      return Compare(start + "c", static_cast<int>(value));
    case 'p':
      return Compare(start + "p", reinterpret_cast<void*>(value));
    case 'e':
    case 'f':
    case 'g': {
      auto number = input.Next<double>();
      // Numbers as people write them, with ties among them, beside those of any bits.
      if (input.Below(2) == 0) {
        number = static_cast<double>(static_cast<std::int64_t>(value)) /
                 (input.Below(2) == 0 ? 1000 : 1024);
      }
      if (input.Below(4) == 0)
        return Compare(start + "L" + conversion, 1.0000000000000000002L * number);
      return Compare(start + (input.Below(4) == 0 ? "l" : "") + conversion, number);
    }
    default:
      return CompareInteger(start, conversion, value, static_cast<int>(input.Below(5)));
  }
}

// With so few conversions every argument of each class is in its place, whichever they take.
void TryAny(std::string format, std::size_t size) {
  static const wchar_t wide[] = L"a";  // As bytes, it is a text too.
  std::size_t conversions = 0;
  for (char& character : format)
    if (character == '%' && ++conversions > 3) character = '_';
  std::string buffer(size, 'x');
  const auto length = tplsnprintf(buffer.data(), size, format.c_str(), wide, wide, wide, 1.5, 2.5,
                                  3.5, 1.5L, 2.5L, 3.5L);
  Require(length < size && buffer[length] == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const unsigned int kind = input.Below(8);
  if (kind == 0)
    TryAny(input.Rest(), 1 + kind + size % 700);
  else
    CompareOne(input);
  return 0;
}
