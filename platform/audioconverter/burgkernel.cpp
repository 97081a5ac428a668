// SPDX-License-Identifier: MIT
#include "platform/audioconverter/burgkernel.h"

#include <algorithm>

#include "platform/audioconverter/vectorcode.h"

namespace {

/// What is left of the energy after a pure tone was taken out is rounding, and not to be fitted.
constexpr double kNothingLeft = 1e-12;

template <class Sample>
ZORVEX_INLINE Sample Loudest(const Sample* samples, std::size_t count) {
  Vector<Sample> highest = {};
  Vector<Sample> lowest = {};
  std::size_t i = 0;
  for (; i + kLanes<Sample> <= count; i += kLanes<Sample>) {
    Vector<Sample> vector;
    Load(vector, samples + i);
    highest = vector > highest ? vector : highest;
    lowest = vector < lowest ? vector : lowest;
  }
  Sample loudest = 0;
  for (std::size_t lane = 0; lane < kLanes<Sample>; ++lane)
    loudest = std::max({loudest, highest[lane], -lowest[lane]});
  for (; i < count; ++i)
    loudest = std::max({loudest, samples[i], -samples[i]});
  return loudest;
}

template <class Sample>
struct Energies {
  Sample common;  ///< of the products of both errors
  Sample both;    ///< of their squares
};

template <class Sample>
ZORVEX_INLINE Energies<Sample> Measure(const Sample* forward, const Sample* backward,
                                       std::size_t count) {
  // One by one, and not as an array in the loop: the compiler leaves that in memory. Six, so that
  // they hide each other's latency.
  Vector<Sample> common0 = {};
  Vector<Sample> common1 = {};
  Vector<Sample> forward0 = {};
  Vector<Sample> forward1 = {};
  Vector<Sample> backward0 = {};
  Vector<Sample> backward1 = {};
  for (std::size_t i = 0; i < count; i += 2 * kLanes<Sample>) {
    Vector<Sample> f;
    Vector<Sample> b;
    Load(f, forward + i);
    Load(b, backward + i);
    common0 += f * b;
    forward0 += f * f;
    backward0 += b * b;
    Load(f, forward + i + kLanes<Sample>);
    Load(b, backward + i + kLanes<Sample>);
    common1 += f * b;
    forward1 += f * f;
    backward1 += b * b;
  }
  const Vector<Sample> totals[4] = {common0, common1, forward0 + forward1, backward0 + backward1};
  Sample sums[4];
  SumLanes(totals, sums);
  return {sums[0] + sums[1], sums[2] + sums[3]};
}

template <class Sample>
ZORVEX_INLINE void Update(Sample* forward, Sample* backward, std::size_t count, Sample reflection) {
  for (std::size_t i = 0; i < count; i += kLanes<Sample>) {
    Vector<Sample> f;
    Vector<Sample> b;
    Load(f, forward + i);
    Load(b, backward + i);
    const Vector<Sample> fRest = f - reflection * b;
    const Vector<Sample> bRest = b - reflection * f;
    Store(fRest, forward + i);
    Store(bRest, backward + i);
  }
}

/// Levinson's step to a prediction that is longer by one.
ZORVEX_INLINE void Lengthen(PredictionCoefficients& coefficients, std::size_t order,
                            double reflection) {
  for (std::size_t i = 1, j = order - 1; i <= j; ++i, --j) {
    const double low = coefficients[i];
    const double high = coefficients[j];
    coefficients[i] = low - reflection * high;
    coefficients[j] = high - reflection * low;
  }
  coefficients[order] = reflection;
}

/// Each sample's error of prediction from before stands against that of the sample in front of the
/// order's reach from behind: the forward errors move on by one with each order, and the last of
/// the backward ones has no partner any more.
template <class Sample>
ZORVEX_INLINE void Fit(Sample* forward, Sample* backward, std::size_t count, std::size_t order,
                       PredictionCoefficients& coefficients) {
  Sample floor = 0;
  for (std::size_t length = 1; length <= order; ++length) {
    Sample* const f = forward + length;
    const std::size_t pairs = count - length;
    backward[pairs] = 0;
    const Energies<Sample> energies = Measure(f, backward, pairs);
    if (length == 1) floor = energies.both * static_cast<Sample>(kNothingLeft);
    if (!(energies.both > floor)) return;
    const Sample reflection = 2 * energies.common / energies.both;
    Update(f, backward, pairs, reflection);
    Lengthen(coefficients, length, static_cast<double>(reflection));
  }
}

ZORVEX_INLINE void AddScaled(Vector<double>& total, const double* coefficients, double sample) {
  Vector<double> vector;
  Load(vector, coefficients);
  total += vector * sample;
}

ZORVEX_INLINE void Predict(const PredictionCoefficients& coefficients, double* samples,
                           std::size_t frames) {
  static_assert(kPredictedAtOnce == kLanes<double> && kBurgOrder % 4 == 0);
  const double* const a = coefficients.data();
  for (double* next = samples; next < samples + frames; next += kPredictedAtOnce) {
    // Of what is known, for all of the group.
    Vector<double> total0 = {};
    Vector<double> total1 = {};
    Vector<double> total2 = {};
    Vector<double> total3 = {};
    for (std::size_t i = 1; i <= kBurgOrder; i += 4) {
      AddScaled(total0, a + i, *(next - i));
      AddScaled(total1, a + i + 1, *(next - i - 1));
      AddScaled(total2, a + i + 2, *(next - i - 2));
      AddScaled(total3, a + i + 3, *(next - i - 3));
    }
    double known[kPredictedAtOnce];
    Store<double>((total0 + total1) + (total2 + total3), known);
    next[0] = known[0];
    next[1] = known[1] + a[1] * next[0];
    next[2] = known[2] + a[2] * next[0] + a[1] * next[1];
    next[3] = known[3] + a[3] * next[0] + a[2] * next[1] + a[1] * next[2];
  }
}

}  // namespace

template <class Sample>
BurgKernels<Sample> BestBurgKernels() {
  return {BestBuild<Loudest<Sample>>(), BestBuild<Fit<Sample>>(), BestBuild<Predict>()};
}

template BurgKernels<float> BestBurgKernels<float>();
template BurgKernels<double> BestBurgKernels<double>();
