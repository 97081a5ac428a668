// SPDX-License-Identifier: MIT
#include "foundation/text/fixedpoint.h"

#include <bit>
#include <cstddef>
#include <iterator>
#include <limits>

#include "foundation/text/decimaldigits.h"

static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<double>::digits == 53);
static_assert(std::size(kPowersOfTen) == FixedPoint::MostDecimals + 1);

namespace {

__extension__ using Wide = unsigned __int128;

// value / 2^shift, rounded to the nearest, a tie to what is even together with `odd`.
std::uint64_t RoundedShift(Wide value, int shift, bool odd) {
  // No value here has more than 117 bits: nothing is left of it, not even a half.
  if (shift > 118) return 0;
  const auto quotient = static_cast<std::uint64_t>(value >> shift);
  const Wide remainder = value - (Wide{quotient} << shift);
  const Wide half = Wide{1} << (shift - 1);
  const bool up = remainder > half || (remainder == half && (odd != ((quotient & 1) != 0)));
  return quotient + (up ? 1 : 0);
}

}  // namespace

bool FixedPoint::Set(double value, int decimals) {
  constexpr int mantissaBits = 52;
  const auto bits = std::bit_cast<std::uint64_t>(value);
  const int exponent = static_cast<int>(bits >> mantissaBits & 0x7ff);
  std::uint64_t mantissa = bits & ((std::uint64_t{1} << mantissaBits) - 1);
  if (exponent != 0) mantissa |= std::uint64_t{1} << mantissaBits;
  // The value is mantissa / 2^shift.
  const int shift = 1023 + mantissaBits - (exponent == 0 ? 1 : exponent);
  if (shift < -11 || decimals > MostDecimals) return false;
  if (shift <= 0) {
    whole = mantissa << -shift;
    fraction = 0;
    return true;
  }
  whole = shift <= mantissaBits ? mantissa >> shift : 0;
  const std::uint64_t rest = shift <= mantissaBits ? mantissa - (whole << shift) : mantissa;
  const std::uint64_t scale = kPowersOfTen[static_cast<std::size_t>(decimals)];
  // Exact: 53 bits times 64. All scales but 1 are even, so that the fraction is what decides a tie.
  fraction = RoundedShift(Wide{rest} * scale, shift, decimals == 0 && (whole & 1) != 0);
  if (fraction == scale) {
    ++whole;
    fraction = 0;
  }
  return true;
}
