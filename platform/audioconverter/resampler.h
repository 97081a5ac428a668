// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_RESAMPLER_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_RESAMPLER_H

#include <cstdint>

#include "platform/audioconverter/edgeextension.h"
#include "platform/audioconverter/filterbank.h"
#include "platform/audioconverter/firkernel.h"
#include "platform/audioconverter/planes.h"

/// Brings a stretch of sound from one rate to another. The first frame of output stands at the time
/// of the first frame of input, and there are as many as the stretch lasts, to the nearest whole
/// one. What comes out does not depend on the pieces in which it went in.
///
///   MakeRoom, write at Tail, Append, Produce ...; Finish when there is no more, Produce the rest
///
/// Allocates only when it is made.
template <class Sample>
class Resampler {
 public:
  Resampler(const RateRatio& ratio, std::size_t channels);

  /// Frames, at least one, that may be written from Tail on. Called when Produce gives nothing
  /// more.
  std::size_t MakeRoom();
  Sample* Tail(std::size_t channel) const { return window_.Row(channel) + have_; }
  void Append(std::size_t frames) { have_ += frames; }
  /// There is no more input.
  void Finish();
  /// Makes up to `frames` frames, as many as the input so far determines.
  std::size_t Produce(Sample* const* output, std::size_t frames);
  /// How many frames of input are missing until `frames` more can be produced.
  std::uint64_t Missing(std::uint64_t frames) const;
  void Reset();

 private:
  bool Begin();
  std::uint64_t Available() const;

  RateRatio ratio_;
  FilterBank<Sample> bank_;
  FirKernel<Sample> filter_;
  EdgeExtension<Sample> extension_;
  Planes<Sample> window_;  ///< the input around the next frame of output
  std::vector<const Sample*> rows_;
  std::size_t have_ = 0;         ///< frames in the window
  FramePosition position_ = {};  ///< of the next frame of output, in the window
  bool begun_ = false;           ///< what is before the first frame is there
  bool finished_ = false;        ///< what is behind the last frame is there, and not counted
};

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_RESAMPLER_H
