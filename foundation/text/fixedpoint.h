// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_FIXEDPOINT_H
#define ZORVEX_FOUNDATION_TEXT_FIXEDPOINT_H

#include <cstdint>

/// The absolute value of a double, rounded to so many decimals as the C library rounds it: by the
/// exact value of the double, a tie to the even digit. Inside the library only.
struct FixedPoint {
  /// The most decimals: 10^19 is the largest power of ten below 2^64.
  static constexpr int MostDecimals = 19;

  std::uint64_t whole;
  std::uint64_t fraction;  ///< below 10^decimals

  /// False when it cannot be told in this form: infinities and what is no number, values from 2^64
  /// on, too many decimals.
  bool Set(double value, int decimals);
};

#endif  // ZORVEX_FOUNDATION_TEXT_FIXEDPOINT_H
