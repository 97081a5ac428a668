// SPDX-License-Identifier: MIT
#include "platform/gstreamer/soundchunker.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "platform/gstreamer/soundformat.h"

namespace {

constexpr std::size_t kAlignment = 16;  ///< what a delegate may ask for

/// One buffer of interleaved sound. Lives on the stack of the streaming thread.
class SoundSample final : public QTSampleBuffer {
 public:
  SoundSample(QTFormatDescription* format, std::uint32_t channels, const unsigned char* bytes,
              std::size_t size)
      : format_(format), list_{1, {{channels, static_cast<std::uint32_t>(size), nullptr}}} {
    // The list has no type for memory that is only read; nobody writes to it.
    list_.mBuffers[0].mData = const_cast<unsigned char*>(bytes);
  }
  QTFormatDescription* FormatDescription() const override { return format_; }
  /// The memory is always aligned.
  AudioBufferList* AudioBufferListWithOptions(unsigned long) override { return &list_; }

 private:
  QTFormatDescription* const format_;
  AudioBufferList list_;
};

bool IsAligned(const unsigned char* bytes) {
  return reinterpret_cast<std::uintptr_t>(bytes) % kAlignment == 0;
}

}  // namespace

namespace gstreamer {

std::size_t FramesPerChunk(int rate, int channels) {
  constexpr std::size_t kMostBytes = 65536, kBytesPerSample = 4;
  const auto perSecond = static_cast<std::size_t>(std::max(rate, 1));
  const std::size_t frameBytes = kBytesPerSample * static_cast<std::size_t>(std::max(channels, 1));
  std::size_t part = 25;
  while (part < 100 && perSecond / part * frameBytes > kMostBytes)
    part *= 2;
  return std::max<std::size_t>((perSecond + part / 2) / part, 1);
}

void SoundChunker::FreeAligned::operator()(unsigned char* memory) const {
  ::operator delete[](memory, std::align_val_t(kAlignment));
}

void SoundChunker::Begin(const GstAudioInfo& info) {
  info_ = info;
  format_ = NewSoundDescription(DescribeSound(info));
  chunkBytes_ = FramesPerChunk(GST_AUDIO_INFO_RATE(&info), GST_AUDIO_INFO_CHANNELS(&info)) *
                static_cast<std::size_t>(GST_AUDIO_INFO_BPF(&info));
  chunk_.reset(
      static_cast<unsigned char*>(::operator new[](chunkBytes_, std::align_val_t(kAlignment))));
  filled_ = 0;
}

void SoundChunker::Consume(GstBuffer* buffer, const StreamInfo& info) {
  if (!info.isAudio) return;
  if (!chunk_ || !gst_audio_info_is_equal(&info.audio, &info_)) Begin(info.audio);
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return;
  Take(map.data, map.size);
  gst_buffer_unmap(buffer, &map);
}

void SoundChunker::Take(const unsigned char* bytes, std::size_t size) {
  while (size > 0) {
    std::size_t taken = 0;
    if (filled_ == 0 && size >= chunkBytes_ && IsAligned(bytes)) {
      taken = chunkBytes_;
      Deliver(bytes, taken);
    } else {
      taken = std::min(size, chunkBytes_ - filled_);
      std::memcpy(chunk_.get() + filled_, bytes, taken);
      filled_ += taken;
      if (filled_ == chunkBytes_) {
        filled_ = 0;
        Deliver(chunk_.get(), chunkBytes_);
      }
    }
    bytes += taken;
    size -= taken;
  }
}

void SoundChunker::Deliver(const unsigned char* bytes, std::size_t size) {
  SoundSample sample(format_.get(), static_cast<std::uint32_t>(GST_AUDIO_INFO_CHANNELS(&info_)),
                     bytes, size);
  output_->Deliver(sample);
}

}  // namespace gstreamer
