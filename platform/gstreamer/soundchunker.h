// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_SOUNDCHUNKER_H
#define ZORVEX_PLATFORM_GSTREAMER_SOUNDCHUNKER_H

#include <cstddef>
#include <memory>
#include <utility>

#include "platform/gstreamer/audiooutput.h"
#include "platform/gstreamer/streamsink.h"

namespace gstreamer {

/// How many sample frames the buffers have that a delegate gets: those of 1/25 s, for which every
/// usual rate has a whole number of frames; a half or a quarter of it where that would be more than
/// 64 KiB of 32-bit samples.
std::size_t FramesPerChunk(int rate, int channels);

/// Cuts the sound of one run into buffers of one length and gives them to the output. What arrives
/// in that length is handed on in place; the rest is put together in memory of its own. Used by the
/// streaming thread alone.
class SoundChunker final : public StreamConsumer {
 public:
  explicit SoundChunker(Retained<AudioOutput> output) : output_(std::move(output)) {}

  void Consume(GstBuffer* buffer, const StreamInfo& info) override;

 private:
  void Begin(const GstAudioInfo& info);
  void Take(const unsigned char* bytes, std::size_t size);
  void Deliver(const unsigned char* bytes, std::size_t size);

  const Retained<AudioOutput> output_;
  GstAudioInfo info_{};
  Retained<QTFormatDescription> format_;
  std::size_t chunkBytes_ = 0;
  struct FreeAligned {
    void operator()(unsigned char* memory) const;
  };
  std::unique_ptr<unsigned char[], FreeAligned> chunk_;
  std::size_t filled_ = 0;  ///< bytes of the chunk
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_SOUNDCHUNKER_H
