// SPDX-License-Identifier: MIT
#include "platform/audioconverter/channelmix.h"

#include <algorithm>
#include <numbers>

#include "platform/audioconverter/vectorcode.h"

namespace {

struct Weighted {
  std::size_t channel;
  double weight;
};
using Row = std::vector<Weighted>;

constexpr std::size_t kLeft = 0;
constexpr std::size_t kCentre = 2;
constexpr std::size_t kSurround = 4;
constexpr double kThreeDecibelsLess = 1 / std::numbers::sqrt2;

/// What goes to one side of a stereo pair; `side` is 0 on the left, 1 on the right.
Row SurroundSide(std::size_t from, std::size_t side) {
  Row row{{kLeft + side, 1}, {kCentre, kThreeDecibelsLess}};
  for (std::size_t channel = kSurround + side; channel < from; channel += 2) {
    row.push_back({channel, kThreeDecibelsLess});
  }
  return row;
}

/// The sum of both sides.
Row SurroundMono(std::size_t from) {
  Row row{{kLeft, 1}, {kLeft + 1, 1}, {kCentre, 2 * kThreeDecibelsLess}};
  for (std::size_t channel = kSurround; channel < from; ++channel) {
    row.push_back({channel, kThreeDecibelsLess});
  }
  return row;
}

std::vector<Row> WeightsOf(std::size_t from, std::size_t to) {
  std::vector<Row> rows(to);
  const bool isSurround = from == 6 || from == 8;
  if (from == 1 && to > 1) {
    rows[0] = rows[1] = {{0, 1}};
  } else if (from == 2 && to == 1) {
    rows[0] = {{0, 1}, {1, 1}};
  } else if (isSurround && to == 1) {
    rows[0] = SurroundMono(from);
  } else if (isSurround && to == 2) {
    rows = {SurroundSide(from, 0), SurroundSide(from, 1)};
  } else {
    for (std::size_t channel = 0; channel < std::min(from, to); ++channel) {
      rows[channel] = {{channel, 1}};
    }
  }
  return rows;
}

/// Two channels at once: most mixes have no more.
template <class Sample>
ZORVEX_INLINE void SetMix(const Sample* first, Sample firstWeight, const Sample* second,
                          Sample secondWeight, Sample* __restrict mixed, std::size_t frames) {
  for (std::size_t i = 0; i < frames; ++i)
    mixed[i] = firstWeight * first[i] + secondWeight * second[i];
}

template <class Sample>
ZORVEX_INLINE void AddMix(const Sample* first, Sample firstWeight, const Sample* second,
                          Sample secondWeight, Sample* __restrict mixed, std::size_t frames) {
  for (std::size_t i = 0; i < frames; ++i)
    mixed[i] += firstWeight * first[i] + secondWeight * second[i];
}

}  // namespace

template <class Sample>
ChannelMix<Sample>::ChannelMix(std::size_t from, std::size_t to)
    : isIdentity_(from == to), terms_(to) {
  const std::vector<Row> rows = WeightsOf(from, to);
  for (std::size_t channel = 0; channel < to; ++channel) {
    double sum = 0;
    for (const Weighted& weighted : rows[channel])
      sum += weighted.weight;
    for (const Weighted& weighted : rows[channel]) {
      terms_[channel].push_back({weighted.channel, static_cast<Sample>(weighted.weight / sum)});
    }
  }
}

template <class Sample>
void ChannelMix<Sample>::Mix(const Sample* const* input, Sample* const* output,
                             std::size_t frames) const {
  static const auto set = BestBuild<SetMix<Sample>>();
  static const auto add = BestBuild<AddMix<Sample>>();
  for (std::size_t channel = 0; channel < terms_.size(); ++channel) {
    const std::vector<Term>& terms = terms_[channel];
    if (terms.empty()) std::fill_n(output[channel], frames, Sample{0});
    for (std::size_t i = 0; i < terms.size(); i += 2) {
      // An odd one out is added to itself, with no weight.
      const Term& first = terms[i];
      const Term second = i + 1 < terms.size() ? terms[i + 1] : Term{first.channel, 0};
      (i == 0 ? set : add)(input[first.channel], first.weight, input[second.channel], second.weight,
                           output[channel], frames);
    }
  }
}

template class ChannelMix<float>;
template class ChannelMix<double>;
