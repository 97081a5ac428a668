// SPDX-License-Identifier: MIT
#include "platform/audioconverter/resampler.h"

#include <algorithm>

namespace {

/// Frames that go through at once, besides what the filter and the extension look back at.
constexpr std::size_t kBlock = 4096;
/// With less room than that, what is no longer needed is given up.
constexpr std::size_t kLittleRoom = kBlock / 4;

}  // namespace

template <class Sample>
Resampler<Sample>::Resampler(const RateRatio& ratio, std::size_t channels)
    : ratio_(ratio),
      bank_(ratio),
      filter_(BestFirKernel<Sample>()),
      extension_(bank_.Half()),
      window_(channels, 3 * bank_.Half() + EdgeExtension<Sample>::kWindow + kBlock),
      rows_(window_.Rows(), window_.Rows() + channels) {
  Reset();
}

template <class Sample>
void Resampler<Sample>::Reset() {
  have_ = bank_.Half();
  position_ = {bank_.Half(), 0};
  begun_ = false;
  finished_ = false;
}

template <class Sample>
std::size_t Resampler<Sample>::MakeRoom() {
  const std::size_t usable = window_.Frames() - bank_.Half();
  if (!begun_ || usable - have_ > kLittleRoom) return usable - have_;
  const std::size_t needed =
      std::min(position_.frame + 1 - bank_.Half(), have_ - EdgeExtension<Sample>::kWindow);
  for (std::size_t channel = 0; channel < window_.Channels(); ++channel) {
    Sample* const row = window_.Row(channel);
    std::copy(row + needed, row + have_, row);
  }
  have_ -= needed;
  position_.frame -= needed;
  return usable - have_;
}

template <class Sample>
bool Resampler<Sample>::Begin() {
  const std::size_t frames = have_ - bank_.Half();
  if (frames <= EdgeExtension<Sample>::kShort) return false;
  for (std::size_t channel = 0; channel < window_.Channels(); ++channel) {
    extension_.Precede(window_.Row(channel) + bank_.Half(), frames, bank_.Half());
  }
  begun_ = true;
  return true;
}

template <class Sample>
void Resampler<Sample>::Finish() {
  finished_ = true;
  const std::size_t half = bank_.Half();
  for (std::size_t channel = 0; channel < window_.Channels(); ++channel) {
    if (begun_) {
      extension_.Continue(Tail(channel), have_, half);
    } else if (have_ > half) {
      extension_.Surround(window_.Row(channel) + half, have_ - half, half);
    }
  }
  begun_ = true;
}

/// Frames of output that the window determines.
template <class Sample>
std::uint64_t Resampler<Sample>::Available() const {
  // In units of the ratio's denominator: a frame of output and the half of the filter behind it
  // must end in the window; at the end, half of what the frame lasts must.
  const std::uint64_t next = position_.frame * ratio_.unit + position_.fraction;
  if (finished_) {
    const std::uint64_t last = 2 * have_ * ratio_.unit;
    const std::uint64_t middle = 2 * next + ratio_.step;
    return middle > last ? 0 : (last - middle) / (2 * ratio_.step) + 1;
  }
  if (have_ <= bank_.Half()) return 0;
  const std::uint64_t end = (have_ - bank_.Half()) * ratio_.unit;
  return next >= end ? 0 : (end - next - 1) / ratio_.step + 1;
}

template <class Sample>
std::size_t Resampler<Sample>::Produce(Sample* const* output, std::size_t frames) {
  if (!begun_ && !Begin()) return 0;
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(frames, Available()));
  if (count == 0) return 0;
  filter_({&bank_, ratio_, window_.Channels(), rows_.data(), output, count, &position_});
  return count;
}

template <class Sample>
std::uint64_t Resampler<Sample>::Missing(std::uint64_t frames) const {
  const std::uint64_t last =
      (position_.fraction + (frames - 1) * ratio_.step) / ratio_.unit + position_.frame;
  const std::uint64_t atStart = begun_ ? 0 : bank_.Half() + EdgeExtension<Sample>::kShort + 1;
  const std::uint64_t needed = std::max(last + 1 + bank_.Half(), atStart);
  return needed > have_ ? needed - have_ : 0;
}

template class Resampler<float>;
template class Resampler<double>;
