// SPDX-License-Identifier: MIT
#include "platform/audioconverter/pulledinput.h"

#include <algorithm>

namespace {

/// Procedures count bytes in 32 bits.
constexpr std::uint64_t kMostBytesAtOnce = std::uint64_t{1} << 31;

}  // namespace

PulledInput::PulledInput(const PcmFormat& format)
    : channels_(format.channels),
      frameBytes_(format.FrameBytes()),
      next_(format.BufferCount()),
      // Each list is larger than the buffer that it makes room for.
      list_(format.BufferCount()) {
  list_.front().mNumberBuffers = 0;
}

OSStatus PulledInput::Pull(AudioConverterRef converter,
                           AudioConverterComplexInputDataProc procedure, void* userData,
                           std::uint64_t frames) {
  AudioBufferList& list = list_.front();
  const std::size_t buffers = next_.size();
  list.mNumberBuffers = static_cast<std::uint32_t>(buffers);
  const auto channels = static_cast<std::uint32_t>(channels_ / buffers);
  for (std::size_t i = 0; i < buffers; ++i)
    list.mBuffers[i] = {channels, 0, nullptr};
  auto packets = static_cast<std::uint32_t>(
      std::clamp<std::uint64_t>(frames, 1, kMostBytesAtOnce / frameBytes_));
  const OSStatus status = procedure(converter, &packets, &list, nullptr, userData);
  return status != noErr ? status : Take(packets);
}

OSStatus PulledInput::Take(std::uint32_t packets) {
  const AudioBufferList& list = list_.front();
  std::size_t frames = packets;
  for (std::size_t i = 0; frames > 0 && i < next_.size(); ++i) {
    if (i >= list.mNumberBuffers) return kParameterError;
    const AudioBuffer& buffer = list.mBuffers[i];
    frames = std::min(frames, buffer.mDataByteSize / frameBytes_);
    if (frames > 0 && !buffer.mData) return kParameterError;
    next_[i] = static_cast<const std::byte*>(buffer.mData);
  }
  frames_ = frames;
  isKept_ = false;
  hasEnded_ = frames == 0;
  return noErr;
}

void PulledInput::Use(std::size_t frames) {
  frames_ -= frames;
  for (const std::byte*& next : next_)
    next += frames * frameBytes_;
}

void PulledInput::Keep() {
  if (frames_ == 0 || isKept_) return;
  const std::size_t bytes = frames_ * frameBytes_;
  kept_.resize(std::max(kept_.size(), bytes * next_.size()));
  for (std::size_t i = 0; i < next_.size(); ++i) {
    std::copy_n(next_[i], bytes, kept_.data() + i * bytes);
    next_[i] = kept_.data() + i * bytes;
  }
  isKept_ = true;
}

void PulledInput::Reset() {
  frames_ = 0;
  hasEnded_ = false;
  isKept_ = false;
}
