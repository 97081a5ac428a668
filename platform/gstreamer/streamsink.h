// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_STREAMSINK_H
#define ZORVEX_PLATFORM_GSTREAMER_STREAMSINK_H

#include <gst/audio/audio.h>
#include <gst/video/video.h>

namespace gstreamer {

/// What is known of a stream of raw pictures or sound from its caps.
struct StreamInfo {
  bool isVideo = false;
  bool isAudio = false;
  GstVideoInfo video;  ///< of pictures; metadata of a buffer may still say other strides
  GstAudioInfo audio;  ///< of sound
};

/// Receives the buffers that reach a sink.
class StreamConsumer {
 public:
  /// One buffer, on the streaming thread. `buffer` is borrowed.
  virtual void Consume(GstBuffer* buffer, const StreamInfo& info) = 0;

 protected:
  ~StreamConsumer() = default;
};

/// Makes the end of a branch of a capture pipeline: an element that passes every buffer to
/// `consumer` as it arrives, by reference, without a queue, without waiting for a clock and without
/// keeping the last one. Unlike an application sink it answers the source's allocation query, so
/// that a driver's own buffers come through however their rows are padded. `consumer` may be null
/// and must outlive the element; it gets raw pictures and sound alone. `buffersHeld` is how many
/// buffers a source of pictures should have beyond those it fills: more than are needed cost memory
/// and the processor's cache.
GstElement* NewStreamSink(StreamConsumer* consumer, unsigned buffersHeld);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_STREAMSINK_H
