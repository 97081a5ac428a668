// SPDX-License-Identifier: MIT
#include "platform/audioconverter/rateratio.h"

#include <cmath>
#include <numeric>

namespace {

constexpr double kLargestRatio = 1024;
constexpr long double kLargestTerm = 2147483647;

/// The last continued fraction of `value` whose terms are small enough.
RateRatio Approximate(long double value) {
  long double step = 1;
  long double unit = 0;
  long double previousStep = 0;
  long double previousUnit = 1;
  for (long double rest = value;;) {
    const long double whole = std::floor(rest);
    const long double nextStep = whole * step + previousStep;
    const long double nextUnit = whole * unit + previousUnit;
    if (nextStep > kLargestTerm || nextUnit > kLargestTerm) break;
    previousStep = step;
    previousUnit = unit;
    step = nextStep;
    unit = nextUnit;
    // Beyond this the digits are those of the rates' own rounding.
    if (std::fabs(step / unit - value) <= value * 1e-16L) break;
    rest = 1 / (rest - whole);
  }
  return {static_cast<std::uint64_t>(step), static_cast<std::uint64_t>(unit)};
}

}  // namespace

std::optional<RateRatio> MakeRateRatio(double inputRate, double outputRate) {
  if (inputRate > outputRate * kLargestRatio || outputRate > inputRate * kLargestRatio) return {};
  if (std::trunc(inputRate) == inputRate && std::trunc(outputRate) == outputRate) {
    const auto step = static_cast<std::uint64_t>(inputRate);
    const auto unit = static_cast<std::uint64_t>(outputRate);
    const std::uint64_t divisor = std::gcd(step, unit);
    return RateRatio{step / divisor, unit / divisor};
  }
  return Approximate(static_cast<long double>(inputRate) / static_cast<long double>(outputRate));
}
