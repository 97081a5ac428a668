// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_BURGKERNEL_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_BURGKERNEL_H

#include <array>
#include <cstddef>

/// The longest prediction.
constexpr std::size_t kBurgOrder = 16;
/// Samples that the kernels touch behind those they are given; zero to begin with.
constexpr std::size_t kBurgPadding = 32;
/// Predictions are made in groups of as many, the last one in full.
constexpr std::size_t kPredictedAtOnce = 4;

/// A sample is predicted as the sum of coefficient i times the sample i before it, for i from 1 on;
/// those that are not used, and the first, are 0. Doubles, for the coefficients of a low tone are
/// large and nearly cancel each other.
using PredictionCoefficients = std::array<double, 1 + kBurgOrder + kPredictedAtOnce>;

template <class Sample>
struct BurgKernels {
  /// The largest magnitude.
  Sample (*loudest)(const Sample* samples, std::size_t count);
  /// Fits a prediction of `order`, below `count`, to the samples that both arrays hold, by Burg's
  /// method: the errors of predicting forwards and backwards are made small together, order by
  /// order. Overwrites the samples.
  void (*fit)(Sample* forward, Sample* backward, std::size_t count, std::size_t order,
              PredictionCoefficients& coefficients);
  /// Writes `frames` predictions, and up to kPredictedAtOnce - 1 more, behind kBurgOrder samples.
  void (*predict)(const PredictionCoefficients& coefficients, double* samples, std::size_t frames);
};

/// The quickest ones that this processor can run.
template <class Sample>
BurgKernels<Sample> BestBurgKernels();

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_BURGKERNEL_H
