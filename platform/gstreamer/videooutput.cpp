// SPDX-License-Identifier: MIT
#include "platform/gstreamer/videooutput.h"

#include <algorithm>

#include "platform/gstreamer/pixelformats.h"
#include "platform/gstreamer/timecode.h"

namespace {

/// A frame in the memory that it arrived in. Lives on the stack of the streaming thread.
class MappedFrame final : public CVPixelBuffer {
 public:
  MappedFrame(GstBuffer* buffer, const GstVideoInfo& info) {
    constexpr int kFlags = GST_MAP_READ | static_cast<int>(GST_VIDEO_FRAME_MAP_FLAG_NO_REF);
    mapped_ = gst_video_frame_map(&frame_, &info, buffer, static_cast<GstMapFlags>(kFlags));
  }
  MappedFrame(const MappedFrame&) = delete;
  MappedFrame& operator=(const MappedFrame&) = delete;
  ~MappedFrame() override {
    if (mapped_) gst_video_frame_unmap(&frame_);
  }

  bool IsMapped() const { return mapped_; }

  // A frame that reaches a delegate is mapped already, so that locking cannot fail.
  int LockBaseAddress(std::uint64_t) override { return 0; }
  int UnlockBaseAddress(std::uint64_t) override { return 0; }
  const unsigned char* GetBaseAddress() const override {
    return static_cast<const unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame_, 0));
  }
  std::uint32_t GetPixelFormatType() const override {
    return gstreamer::PixelFormatCode(frame_.info);
  }
  std::size_t GetWidth() const override { return Positive(GST_VIDEO_FRAME_WIDTH(&frame_)); }
  std::size_t GetHeight() const override { return Positive(GST_VIDEO_FRAME_HEIGHT(&frame_)); }
  std::size_t GetBytesPerRow() const override {
    return Positive(GST_VIDEO_FRAME_PLANE_STRIDE(&frame_, 0));
  }

 private:
  static std::size_t Positive(int value) { return static_cast<std::size_t>(std::max(value, 0)); }

  GstVideoFrame frame_;
  bool mapped_;
};

class FrameSample final : public QTSampleBuffer {
 public:
  explicit FrameSample(GstBuffer* buffer)
      : hasTimeCode_(gstreamer::ReadTimeCode(buffer, timeCode_)) {}
  const SMPTETime* SMPTETimeAttribute() const override {
    return hasTimeCode_ ? &timeCode_ : nullptr;
  }

 private:
  SMPTETime timeCode_{};
  bool hasTimeCode_;
};

}  // namespace

namespace gstreamer {

void VideoOutput::SetPixelBufferAttributes(const CVPixelBufferAttributes& attributes) {
  const std::lock_guard lock(mutex_);
  attributes_ = attributes;
}

CVPixelBufferAttributes VideoOutput::Attributes() const {
  const std::lock_guard lock(mutex_);
  return attributes_;
}

void VideoOutput::Consume(GstBuffer* buffer, const StreamInfo& info) {
  if (!info.isVideo) return;
  gate_.Deliver([&](QTCaptureDecompressedVideoOutputDelegate& delegate) {
    MappedFrame frame(buffer, info.video);
    FrameSample sample(buffer);
    if (frame.IsMapped()) delegate.CaptureOutput(this, &frame, &sample, nullptr);
  });
}

}  // namespace gstreamer
