// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_CHANNELMIX_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_CHANNELMIX_H

#include <cstddef>
#include <vector>

/// Makes one number of channels of another. Channels stand in the usual order: left, right, centre,
/// low frequencies, then the surrounds, left before right.
///
///   1 to more         the first two (left and right) get it in full, others are silent
///   2 to 1            the mean
///   6 or 8 to 2 or 1  the weights of ITU-R BS.775: centre and surrounds 3 dB below the front, low
///                     frequencies left out; all reduced alike, so that full scale stays full scale
///   any other         channel by channel: what has no partner is left out, or silent
template <class Sample>
class ChannelMix {
 public:
  ChannelMix(std::size_t from, std::size_t to);

  /// Whether every channel stays what it is.
  bool IsIdentity() const { return isIdentity_; }
  /// `input` has a row for each channel from which it mixes, `output` for each to which.
  void Mix(const Sample* const* input, Sample* const* output, std::size_t frames) const;

 private:
  struct Term {
    std::size_t channel;
    Sample weight;
  };

  bool isIdentity_;
  std::vector<std::vector<Term>> terms_;  ///< for each channel to which it mixes
};

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_CHANNELMIX_H
