// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_VIDEOSINK_H
#define ZORVEX_PLATFORM_GSTREAMER_VIDEOSINK_H

#include <gst/video/video.h>

namespace gstreamer {

/// Receives the frames that reach a video sink.
class FrameConsumer {
 public:
  /// One frame, on the streaming thread. `buffer` is borrowed; `info` describes the stream, and
  /// metadata of the buffer may still say other strides.
  virtual void Consume(GstBuffer* buffer, const GstVideoInfo& info) = 0;

 protected:
  ~FrameConsumer() = default;
};

/// Makes the end of a capture pipeline: an element that passes every buffer to `consumer` as it
/// arrives, by reference, without a queue, without waiting for a clock and without keeping the last
/// one. Unlike an application sink it answers the source's allocation query, so that a driver's own
/// buffers come through however their rows are padded. `consumer` may be null and must outlive the
/// element. `buffersHeld` is how many buffers the source should have beyond those it fills: more
/// than are needed cost memory and the processor's cache.
GstElement* NewVideoSink(FrameConsumer* consumer, unsigned buffersHeld);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_VIDEOSINK_H
