// SPDX-License-Identifier: MIT
#include "platform/simulated/framestamp.h"

#include <gst/video/video.h>

FrameStamp::FrameStamp(std::uint64_t frameNumber) {
  Append(frameNumber, 6);
}

FrameStamp::FrameStamp(const TapeTime& time, bool dropFrame) {
  const int parts[] = {time.hours, time.minutes, time.seconds, time.frames};
  for (const int& part : parts) {
    if (&part != parts) text_[length_++] = &part == parts + 3 && dropFrame ? ';' : ':';
    Append(static_cast<std::uint64_t>(part), 2);
  }
}

void FrameStamp::Append(std::uint64_t value, int digits) {
  for (int i = digits; i-- > 0; value /= 10) {
    text_[length_ + static_cast<std::size_t>(i)] = static_cast<char>('0' + value % 10);
  }
  length_ += static_cast<std::size_t>(digits);
}

void SetTimeCode(GstBuffer* buffer, const TapeTime& time, FrameRate rate, bool dropFrame) {
  GstVideoTimeCodeMeta* meta = gst_buffer_get_video_time_code_meta(buffer);
  if (!meta) {
    meta = gst_buffer_add_video_time_code_meta_full(
        buffer, static_cast<guint>(rate.numerator), static_cast<guint>(rate.denominator), nullptr,
        dropFrame ? GST_VIDEO_TIME_CODE_FLAGS_DROP_FRAME : GST_VIDEO_TIME_CODE_FLAGS_NONE, 0, 0, 0,
        0, 0);
    meta->meta.flags = static_cast<GstMetaFlags>(meta->meta.flags | GST_META_FLAG_POOLED);
  }
  meta->tc.hours = static_cast<guint>(time.hours);
  meta->tc.minutes = static_cast<guint>(time.minutes);
  meta->tc.seconds = static_cast<guint>(time.seconds);
  meta->tc.frames = static_cast<guint>(time.frames);
}
