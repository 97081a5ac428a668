// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_FIRKERNEL_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_FIRKERNEL_H

#include "platform/audioconverter/filterbank.h"

/// Where a frame of output falls in the input: `fraction` is in units of the ratio.
struct FramePosition {
  std::size_t frame;
  std::uint64_t fraction;
};

/// A run of frames of output, all of whose input is there.
template <class Sample>
struct FirRun {
  const FilterBank<Sample>* bank;
  RateRatio ratio;
  std::size_t channels;
  const Sample* const* input;  ///< a row for each channel
  Sample* const* output;
  std::size_t frames;
  FramePosition* position;  ///< of the first frame; moved behind the last
};

template <class Sample>
using FirKernel = void (*)(const FirRun<Sample>&);

/// The quickest one that this processor can run.
template <class Sample>
FirKernel<Sample> BestFirKernel();

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_FIRKERNEL_H
