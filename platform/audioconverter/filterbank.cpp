// SPDX-License-Identifier: MIT
#include "platform/audioconverter/filterbank.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>

#include "platform/audioconverter/vectorcode.h"

namespace {

/// On each side, in frames of the slower rate.
constexpr double kHalf = 22;
constexpr double kAttenuation = 82;  ///< of what is stopped, in dB
constexpr double kStop = 1.04;       ///< where that begins, in units of the slower rate's band
/// Rows of an exact table; beyond that, rows are blended.
constexpr std::uint64_t kMostPlaces = 1024;
constexpr std::uint64_t kMostCoefficients = std::uint64_t{1} << 18;
/// Blending 512 rows to a lobe of the filter leaves errors more than 100 dB down.
constexpr double kPlacesPerLobe = 512;

/// The modified Bessel function of the first kind and order zero.
double Bessel(double x) {
  double sum = 1;
  double term = 1;
  for (int i = 1; term > sum * 1e-17; ++i) {
    term *= (x / (2 * i)) * (x / (2 * i));
    sum += term;
  }
  return sum;
}

/// A sinc under Kaiser's window, with his formulas for the width that an attenuation takes.
class Prototype {
 public:
  Prototype(double half, double factor)
      : half_(half), shape_(0.1102 * (kAttenuation - 8.7)), peak_(Bessel(shape_)) {
    const double transition =
        (kAttenuation - 7.95) / (2.285 * std::numbers::pi * 2 * half) * factor;
    cutoff_ = (kStop - transition / 2) / factor;
  }

  /// At a distance in frames of input.
  double At(double distance) const {
    const double x = distance / half_;
    if (x <= -1 || x >= 1) return 0;
    const double angle = std::numbers::pi * cutoff_ * distance;
    const double sinc = std::abs(angle) < 1e-9 ? 1 : std::sin(angle) / angle;
    return sinc * Bessel(shape_ * std::sqrt(1 - x * x)) / peak_;
  }

 private:
  double half_;
  double shape_;
  double peak_;
  double cutoff_;  ///< in units of the input's band
};

/// One row, scaled so that a constant passes unchanged.
template <class Sample>
void FillRow(const Prototype& prototype, double place, std::vector<double>& row, Sample* out) {
  const std::size_t before = row.size() / 2 - 1;
  const double centre = static_cast<double>(before) + place;
  double sum = 0;
  for (std::size_t tap = 0; tap < row.size(); ++tap) {
    row[tap] = prototype.At(static_cast<double>(tap) - centre);
    sum += row[tap];
  }
  for (std::size_t tap = 0; tap < row.size(); ++tap)
    out[tap] = static_cast<Sample>(row[tap] / sum);
}

}  // namespace

template <class Sample>
FilterBank<Sample>::FilterBank(const RateRatio& ratio) {
  const double factor =
      std::max(1.0, static_cast<double>(ratio.step) / static_cast<double>(ratio.unit));
  // Eight, a vector of floats, for both types: their output differs in precision only.
  taps_ = static_cast<std::size_t>(std::ceil(2 * kHalf * factor / 8)) * 8;
  isBlended_ = ratio.unit > kMostPlaces || ratio.unit * taps_ > kMostCoefficients;
  places_ = isBlended_ ? static_cast<std::size_t>(std::ceil(kPlacesPerLobe / factor))
                       : static_cast<std::size_t>(ratio.unit);
  const std::size_t size = (places_ + 1) * taps_;
  coefficients_.resize(size + kLanes<Sample>);
  void* aligned = coefficients_.data();
  std::size_t space = coefficients_.size() * sizeof(Sample);
  auto* rows = static_cast<Sample*>(
      std::align(kLanes<Sample> * sizeof(Sample), size * sizeof(Sample), aligned, space));
  const Prototype prototype(static_cast<double>(taps_) / 2, factor);
  std::vector<double> row(taps_);
  for (std::size_t place = 0; place <= places_; ++place) {
    FillRow(prototype, static_cast<double>(place) / static_cast<double>(places_), row,
            rows + place * taps_);
  }
  rows_ = rows;
}

template class FilterBank<float>;
template class FilterBank<double>;
