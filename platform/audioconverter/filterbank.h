// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_FILTERBANK_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_FILTERBANK_H

#include <cstddef>
#include <vector>

#include "platform/audioconverter/rateratio.h"

/// The coefficients of a low-pass filter for every place between two frames of input where a frame
/// of output may fall. It passes four fifths of the band that both rates have, within 0.01 dB, and
/// leaves less than 80 dB of what lies more than 4 % above that band.
template <class Sample>
class FilterBank {
 public:
  explicit FilterBank(const RateRatio& ratio);
  FilterBank(const FilterBank&) = delete;
  FilterBank& operator=(const FilterBank&) = delete;

  /// Frames of input under the filter on each side of a frame of output.
  std::size_t Half() const { return taps_ / 2; }
  /// The coefficients of one place: a multiple of the lanes of a vector.
  std::size_t Taps() const { return taps_; }
  /// Row after row, the places in equal steps from one frame of input to the next, that one too.
  const Sample* Rows() const { return rows_; }
  std::size_t Places() const { return places_; }
  /// Whether frames of output fall between the places, so that two rows are to be blended.
  bool IsBlended() const { return isBlended_; }

 private:
  std::size_t taps_;
  std::size_t places_;
  bool isBlended_;
  std::vector<Sample> coefficients_;
  const Sample* rows_;  ///< in them, on the boundary of a vector
};

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_FILTERBANK_H
