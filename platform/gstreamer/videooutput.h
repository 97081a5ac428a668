// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_VIDEOOUTPUT_H
#define ZORVEX_PLATFORM_GSTREAMER_VIDEOOUTPUT_H

#include <mutex>

#include "platform/gstreamer/callertracker.h"
#include "platform/gstreamer/streamsink.h"
#include "platform/qtcaptureoutput.h"

namespace gstreamer {

/// Gives the frames of a run to the delegate.
class VideoOutput final : public QTCaptureDecompressedVideoOutput, public StreamConsumer {
 public:
  void SetDelegate(QTCaptureDecompressedVideoOutputDelegate* delegate) override {
    gate_.Set(delegate);
  }
  void SetPixelBufferAttributes(const CVPixelBufferAttributes& attributes) override;
  CVPixelBufferAttributes Attributes() const;

  /// On the streaming thread; the pixels are mapped for the call, neither copied nor converted.
  void Consume(GstBuffer* buffer, const StreamInfo& info) override;

  CallerTracker& Callers() { return gate_.Callers(); }

 private:
  DelegateGate<QTCaptureDecompressedVideoOutputDelegate> gate_;
  mutable std::mutex mutex_;  ///< guards what follows
  CVPixelBufferAttributes attributes_;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_VIDEOOUTPUT_H
