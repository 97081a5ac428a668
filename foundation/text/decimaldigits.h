// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_DECIMALDIGITS_H
#define ZORVEX_FOUNDATION_TEXT_DECIMALDIGITS_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// \file
/// Digits of numbers, written from the last to the first. All functions take the end of a buffer,
/// write before it and return the first character written; nothing is terminated. Inside the
/// library only.

/// The most digits that an unsigned 64-bit number has.
constexpr int kDecimalDigits64 = 20;
constexpr int kOctalDigits64 = 22;

/// Up to the largest that 64 bits hold.
inline constexpr auto kPowersOfTen = [] {
  std::array<std::uint64_t, kDecimalDigits64> powers{1};
  for (std::size_t i = 1; i < powers.size(); ++i)
    powers[i] = powers[i - 1] * 10;
  return powers;
}();

/// "00", "01" to "99" in a row.
inline constexpr auto kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

inline constexpr char kLowerDigits[] = "0123456789abcdef";
inline constexpr char kUpperDigits[] = "0123456789ABCDEF";

inline char* WritePairBefore(char* end, std::uint32_t pair) {
  std::memcpy(end - 2, kDigitPairs.data() + std::size_t{2} * pair, 2);
  return end - 2;
}

/// Exactly four digits.
inline char* WriteFourBefore(char* end, std::uint32_t value) {
  return WritePairBefore(WritePairBefore(end, value % 100), value / 100);
}

/// Needs up to kDecimalDigits64 characters; 0 gives "0".
inline char* WriteDecimalBefore(char* end, std::uint64_t value) {
  // Eight digits at a time: the divisions of 64 bits are what takes the time.
  for (; value > 99999999; value /= 100000000) {
    const auto low = static_cast<std::uint32_t>(value % 100000000);
    end = WriteFourBefore(WriteFourBefore(end, low % 10000), low / 10000);
  }
  auto rest = static_cast<std::uint32_t>(value);
  if (rest > 9999) {
    end = WriteFourBefore(end, rest % 10000);
    rest /= 10000;
  }
  if (rest > 99) {
    end = WritePairBefore(end, rest % 100);
    rest /= 100;
  }
  if (rest > 9) return WritePairBefore(end, rest);
  *--end = static_cast<char>('0' + rest);
  return end;
}

/// The number of digits; 1 for 0.
inline int CountDecimals(std::uint64_t value) {
  // 1233 / 4096 is the logarithm of 2, near enough to be wrong by one digit at most.
  const auto least = static_cast<std::size_t>(std::bit_width(value | 1)) * 1233 >> 12;
  return static_cast<int>(least) + ((value | 1) >= kPowersOfTen[least] ? 1 : 0);
}

/// Exactly `count` digits, with leading zeros.
inline char* WriteDecimalBefore(char* end, std::uint64_t value, int count) {
  char* const first = end - count;
  if (value != 0) end = WriteDecimalBefore(end, value);
  while (end != first)
    *--end = '0';
  return first;
}

/// Base 8 (`bits` 3) or 16 (`bits` 4), with the digits of `digits`; up to kOctalDigits64
/// characters.
inline char* WriteBitsBefore(char* end, std::uint64_t value, int bits, const char* digits) {
  const std::uint64_t mask = (std::uint64_t{1} << bits) - 1;
  do {
    *--end = digits[value & mask];
    value >>= bits;
  } while (value != 0);
  return end;
}

#endif  // ZORVEX_FOUNDATION_TEXT_DECIMALDIGITS_H
