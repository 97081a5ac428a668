// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_EDGEEXTENSION_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_EDGEEXTENSION_H

#include <cstddef>
#include <vector>

#include "platform/audioconverter/burgkernel.h"

/// Continues a sound beyond its first and its last sample, so that a filter finds there what would
/// probably have come: each buffer of a device is converted alone, and with silence around it every
/// seam between two buffers would click.
///
/// The samples next to the edge are described by Burg's method as a linear prediction, which is
/// stable whatever they are. Tones go on as they are, noise falls off, silence stays silence.
/// What is predicted is at most half as loud again as the loudest of those samples.
template <class Sample>
class EdgeExtension {
 public:
  /// As many samples next to an edge are looked at.
  static constexpr std::size_t kWindow = 256;
  /// A stretch up to that long is described once, in its middle, for both of its ends.
  static constexpr std::size_t kShort = 2 * kWindow;

  /// For extensions up to `longest` samples.
  explicit EdgeExtension(std::size_t longest);

  /// Writes `frames` samples from `end` on, behind the `available` ones (at least one) before it.
  void Continue(Sample* end, std::size_t available, std::size_t frames);
  /// The same backwards: in front of the `available` samples from `begin` on.
  void Precede(Sample* begin, std::size_t available, std::size_t frames);
  /// Both, for a stretch of at most kShort samples that is all there is.
  void Surround(Sample* begin, std::size_t available, std::size_t frames);

 private:
  void Describe(const Sample* samples, std::size_t count);
  void LimitTo(const Sample* samples, std::size_t count);
  void Append(Sample* end, std::size_t available, std::size_t frames);
  void Prepend(Sample* begin, std::size_t available, std::size_t frames);
  /// What follows the last samples in history_.
  const double* Predict(std::size_t frames);

  BurgKernels<Sample> kernels_;
  PredictionCoefficients coefficients_ = {};
  double limit_ = 0;  ///< of the magnitude of what is predicted
  std::vector<Sample> forward_;
  std::vector<Sample> backward_;
  std::vector<double> history_;  ///< kBurgOrder samples, and the predicted ones behind them
};

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_EDGEEXTENSION_H
