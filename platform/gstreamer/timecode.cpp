// SPDX-License-Identifier: MIT
#include "platform/gstreamer/timecode.h"

#include <gst/video/video.h>

namespace {

/// The type that stands for a rate; 25 where none does.
SMPTETimeType TypeOf(const GstVideoTimeCodeConfig& config) {
  const bool drop = (config.flags & GST_VIDEO_TIME_CODE_FLAGS_DROP_FRAME) != 0;
  const bool ntsc = config.fps_d == 1001;
  switch (config.fps_n) {
    case 24:
    case 24000:
      return kSMPTETimeType24;
    case 30:
      return drop ? kSMPTETimeType30Drop : kSMPTETimeType30;
    case 30000:
      return drop ? kSMPTETimeType2997Drop : kSMPTETimeType2997;
    case 60:
      return kSMPTETimeType60;
    case 60000:
      return ntsc ? kSMPTETimeType5994 : kSMPTETimeType60;
    default:
      return kSMPTETimeType25;
  }
}

}  // namespace

bool gstreamer::ReadTimeCode(GstBuffer* buffer, SMPTETime& timeCode) {
  const GstVideoTimeCodeMeta* meta = gst_buffer_get_video_time_code_meta(buffer);
  if (!meta) return false;
  const GstVideoTimeCode& tc = meta->tc;
  timeCode = SMPTETime{};
  timeCode.mType = TypeOf(tc.config);
  timeCode.mFlags = kSMPTETimeValid | kSMPTETimeRunning;
  timeCode.mHours = static_cast<std::int16_t>(tc.hours);
  timeCode.mMinutes = static_cast<std::int16_t>(tc.minutes);
  timeCode.mSeconds = static_cast<std::int16_t>(tc.seconds);
  timeCode.mFrames = static_cast<std::int16_t>(tc.frames);
  timeCode.mCounter =
      gst_video_time_code_is_valid(&tc)
          ? static_cast<std::uint32_t>(gst_video_time_code_frames_since_daily_jam(&tc))
          : 0;
  return true;
}
