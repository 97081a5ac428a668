// SPDX-License-Identifier: MIT
#include "platform/audioconverter/firkernel.h"

#include <algorithm>
#include <cmath>

#include "platform/audioconverter/vectorcode.h"

namespace {

/// Sums that are worked on at once, so that they hide each other's latency.
constexpr std::size_t kSums = 4;

/// The filter over one frame of output.
template <class Sample>
struct Place {
  const Sample* row;
  Sample blend;       ///< of the next row
  std::size_t first;  ///< frame of input under the first coefficient
};

template <class Sample, bool kBlended>
ZORVEX_INLINE void LoadRow(Vector<Sample>& coefficients, const Place<Sample>& place,
                           std::size_t taps, std::size_t tap) {
  Load(coefficients, place.row + tap);
  if constexpr (kBlended) {
    Vector<Sample> next;
    Load(next, place.row + taps + tap);
    coefficients += (next - coefficients) * place.blend;
  }
}

template <class Sample>
ZORVEX_INLINE void AddProduct(Vector<Sample>& total, const Vector<Sample>& coefficients,
                              const Sample* samples) {
  Vector<Sample> vector;
  Load(vector, samples);
  total += coefficients * vector;
}

// In both of these the totals stand one by one: as an array the compiler leaves them in memory.

/// Two places in two channels: the sums of the first place, then those of the second.
template <class Sample, bool kBlended>
ZORVEX_INLINE void SumPair(const Place<Sample>* places, std::size_t taps, const Sample* left,
                           const Sample* right, Sample (&sums)[kSums]) {
  Vector<Sample> left0 = {};
  Vector<Sample> right0 = {};
  Vector<Sample> left1 = {};
  Vector<Sample> right1 = {};
  for (std::size_t tap = 0; tap < taps; tap += kLanes<Sample>) {
    Vector<Sample> coefficients;
    LoadRow<Sample, kBlended>(coefficients, places[0], taps, tap);
    AddProduct(left0, coefficients, left + places[0].first + tap);
    AddProduct(right0, coefficients, right + places[0].first + tap);
    LoadRow<Sample, kBlended>(coefficients, places[1], taps, tap);
    AddProduct(left1, coefficients, left + places[1].first + tap);
    AddProduct(right1, coefficients, right + places[1].first + tap);
  }
  SumLanes({left0, right0, left1, right1}, sums);
}

/// Four places in one channel. `kShared`: they all have the same row.
template <class Sample, bool kBlended, bool kShared>
ZORVEX_INLINE void SumFour(const Place<Sample>* places, std::size_t taps, const Sample* input,
                           Sample (&sums)[kSums]) {
  Vector<Sample> total0 = {};
  Vector<Sample> total1 = {};
  Vector<Sample> total2 = {};
  Vector<Sample> total3 = {};
  for (std::size_t tap = 0; tap < taps; tap += kLanes<Sample>) {
    Vector<Sample> coefficients;
    LoadRow<Sample, kBlended>(coefficients, places[0], taps, tap);
    AddProduct(total0, coefficients, input + places[0].first + tap);
    if constexpr (!kShared) LoadRow<Sample, kBlended>(coefficients, places[1], taps, tap);
    AddProduct(total1, coefficients, input + places[1].first + tap);
    if constexpr (!kShared) LoadRow<Sample, kBlended>(coefficients, places[2], taps, tap);
    AddProduct(total2, coefficients, input + places[2].first + tap);
    if constexpr (!kShared) LoadRow<Sample, kBlended>(coefficients, places[3], taps, tap);
    AddProduct(total3, coefficients, input + places[3].first + tap);
  }
  SumLanes({total0, total1, total2, total3}, sums);
}

/// A run with all that is the same for every frame at hand.
template <class Sample>
struct Walk {
  FirRun<Sample> run;
  FramePosition position;
  const Sample* rows;
  std::size_t taps;
  std::size_t reach;  ///< from the first coefficient to the frame of the position
  std::uint64_t whole;
  std::uint64_t rest;
  double lastPlace;
  double placesPerUnit;
};

/// The next `wanted` places; the last one stands in for what is missing to kSums.
template <class Sample, bool kBlended>
ZORVEX_INLINE void NextPlaces(Walk<Sample>& walk, std::size_t wanted,
                              Place<Sample> (&places)[kSums]) {
  FramePosition& position = walk.position;
  for (std::size_t i = 0; i < kSums; ++i) {
    if (i >= wanted) {
      places[i] = places[i - 1];
      continue;
    }
    places[i].first = position.frame - walk.reach;
    if constexpr (kBlended) {
      const double place = static_cast<double>(position.fraction) * walk.placesPerUnit;
      const double row = std::min(std::floor(place), walk.lastPlace);
      places[i].row = walk.rows + static_cast<std::size_t>(row) * walk.taps;
      places[i].blend = static_cast<Sample>(place - row);
    } else {
      places[i].row = walk.rows + position.fraction * walk.taps;
    }
    position.frame += walk.whole;
    position.fraction += walk.rest;
    if (position.fraction >= walk.run.ratio.unit) {
      position.fraction -= walk.run.ratio.unit;
      ++position.frame;
    }
  }
}

/// Up to four frames from `done` on, in every channel.
template <class Sample, bool kBlended, bool kShared>
ZORVEX_INLINE void FilterFour(Walk<Sample>& walk, std::size_t done, std::size_t wanted) {
  const FirRun<Sample>& run = walk.run;
  Place<Sample> places[kSums];
  NextPlaces<Sample, kBlended>(walk, wanted, places);
  Sample sums[kSums];
  std::size_t channel = 0;
  for (; channel + 2 <= run.channels; channel += 2) {
    Sample* const left = run.output[channel] + done;
    Sample* const right = run.output[channel + 1] + done;
    for (std::size_t i = 0; i < wanted; i += 2) {
      SumPair<Sample, kBlended>(places + i, walk.taps, run.input[channel], run.input[channel + 1],
                                sums);
      left[i] = sums[0];
      right[i] = sums[1];
      if (i + 1 == wanted) break;
      left[i + 1] = sums[2];
      right[i + 1] = sums[3];
    }
  }
  if (channel == run.channels) return;
  SumFour<Sample, kBlended, kShared>(places, walk.taps, run.input[channel], sums);
  for (std::size_t i = 0; i < wanted; ++i)
    run.output[channel][done + i] = sums[i];
}

template <class Sample, bool kBlended, bool kShared>
ZORVEX_INLINE void FilterAll(Walk<Sample>& walk) {
  const std::size_t frames = walk.run.frames;
  const std::size_t whole = frames / kSums * kSums;
  for (std::size_t done = 0; done < whole; done += kSums)
    FilterFour<Sample, kBlended, kShared>(walk, done, kSums);
  if (whole < frames) FilterFour<Sample, kBlended, kShared>(walk, whole, frames - whole);
}

template <class Sample>
ZORVEX_INLINE void Filter(const FirRun<Sample>& run) {
  const FilterBank<Sample>& bank = *run.bank;
  Walk<Sample> walk{run,
                    *run.position,
                    bank.Rows(),
                    bank.Taps(),
                    bank.Half() - 1,
                    run.ratio.step / run.ratio.unit,
                    run.ratio.step % run.ratio.unit,
                    static_cast<double>(bank.Places() - 1),
                    static_cast<double>(bank.Places()) / static_cast<double>(run.ratio.unit)};
  if (bank.IsBlended()) {
    FilterAll<Sample, true, false>(walk);
  } else if (bank.Places() == 1) {
    FilterAll<Sample, false, true>(walk);
  } else {
    FilterAll<Sample, false, false>(walk);
  }
  *run.position = walk.position;
}

}  // namespace

template <class Sample>
FirKernel<Sample> BestFirKernel() {
  return BestBuild<Filter<Sample>>();
}

template FirKernel<float> BestFirKernel<float>();
template FirKernel<double> BestFirKernel<double>();
