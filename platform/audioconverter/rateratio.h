// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_RATERATIO_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_RATERATIO_H

#include <cstdint>
#include <optional>

/// How far the input moves on with each frame of output: `step` / `unit` frames, in lowest terms,
/// both below 2^31. A fraction, for a position that is added up in floating point drifts.
struct RateRatio {
  std::uint64_t step;
  std::uint64_t unit;
};

/// Exact for whole rates; for others the nearest fraction of that size, which is off by less than a
/// frame in a thousand years. Nothing when one rate is more than 1024 times the other.
std::optional<RateRatio> MakeRateRatio(double inputRate, double outputRate);

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_RATERATIO_H
