// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_VIDEOOUTPUT_H
#define ZORVEX_PLATFORM_GSTREAMER_VIDEOOUTPUT_H

#include <mutex>
#include <thread>
#include <vector>

#include "platform/gstreamer/videosink.h"
#include "platform/qtcaptureoutput.h"

namespace gstreamer {

/// Gives the frames of a run to the delegate, and knows which threads are inside it.
class VideoOutput final : public QTCaptureDecompressedVideoOutput, public FrameConsumer {
 public:
  VideoOutput();

  void SetDelegate(QTCaptureDecompressedVideoOutputDelegate* delegate) override;
  void SetPixelBufferAttributes(const CVPixelBufferAttributes& attributes) override;
  CVPixelBufferAttributes Attributes() const;

  /// On the streaming thread; the pixels are mapped for the call, neither copied nor converted.
  void Consume(GstBuffer* buffer, const GstVideoInfo& info) override;

  /// Whether the calling thread is inside the delegate, or inside that of any output.
  bool IsInsideDelegate() const;
  static bool IsInsideAnyDelegate();

 private:
  Retained<QTCaptureDecompressedVideoOutputDelegate> Enter();
  void Leave();

  mutable std::mutex mutex_;  ///< guards what follows; never held while the delegate is called
  Retained<QTCaptureDecompressedVideoOutputDelegate> delegate_;
  CVPixelBufferAttributes attributes_;
  std::vector<std::thread::id> inside_;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_VIDEOOUTPUT_H
