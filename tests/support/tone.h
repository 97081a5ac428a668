// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_TONE_H
#define ZORVEX_TESTS_SUPPORT_TONE_H

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <span>

/// What a piece of sound has at one frequency: its amplitude turned by its phase (1 is full scale).
inline std::complex<double> ToneIn(std::span<const float> samples, double frequency, double rate) {
  std::complex<double> sum = 0;
  double weights = 0;
  const auto count = static_cast<double>(samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto n = static_cast<double>(i);
    // A Hann window: other tones do not leak in.
    const double weight = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * (n + 0.5) / count);
    sum += weight * static_cast<double>(samples[i]) *
           std::polar(1.0, -2 * std::numbers::pi * frequency * n / rate);
    weights += weight;
  }
  return weights > 0 ? 2.0 * sum / weights : 0;
}

/// The level of a tone in decibels below full scale; at least -200.
inline double LevelOf(std::span<const float> samples, double frequency, double rate) {
  return 20 * std::log10(std::max(std::abs(ToneIn(samples, frequency, rate)), 1e-10));
}

/// The frequency of a steady tone near `guess`, by how its phase moves from the first half of the
/// sound to the second.
inline double FrequencyOf(std::span<const float> samples, double guess, double rate) {
  const std::size_t half = samples.size() / 2;
  const std::complex<double> first = ToneIn(samples.first(half), guess, rate);
  const std::complex<double> second =
      ToneIn(samples.subspan(half, half), guess, rate) *
      std::polar(1.0, -2 * std::numbers::pi * guess * static_cast<double>(half) / rate);
  const double turned = std::arg(second * std::conj(first));
  return guess + turned * rate / (2 * std::numbers::pi * static_cast<double>(half));
}

/// The longest part of a sound in which each sample follows from the two before it as in a steady
/// tone: a sample that is lost or repeated ends it, and so does silence.
inline std::span<const float> LongestTone(std::span<const float> samples, double frequency,
                                          double rate) {
  const double turn = 2 * std::cos(2 * std::numbers::pi * frequency / rate);
  std::span<const float> longest;
  std::size_t begin = 0, silent = 0;
  for (std::size_t i = 2; i < samples.size(); ++i) {
    const double expected =
        turn * static_cast<double>(samples[i - 1]) - static_cast<double>(samples[i - 2]);
    silent = samples[i] == 0 ? silent + 1 : 0;
    if (std::abs(static_cast<double>(samples[i]) - expected) > 0.002 || silent > 2) begin = i;
    if (i - begin > longest.size()) longest = samples.subspan(begin, i - begin);
  }
  return longest;
}

#endif  // ZORVEX_TESTS_SUPPORT_TONE_H
