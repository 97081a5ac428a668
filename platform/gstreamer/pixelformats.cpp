// SPDX-License-Identifier: MIT
#include "platform/gstreamer/pixelformats.h"

namespace {

using gstreamer::kFullRange420;
using gstreamer::kVideoRange420;

struct PixelFormat {
  std::uint32_t code;
  GstVideoFormat format;
};

/// Where a code has several formats the first is what a conversion gives. The numbers 24 and 32
/// are codes of their own.
constexpr PixelFormat kPixelFormats[] = {
    {FourCharCode("2vuy"), GST_VIDEO_FORMAT_UYVY},
    {FourCharCode("yuvs"), GST_VIDEO_FORMAT_YUY2},
    {kVideoRange420, GST_VIDEO_FORMAT_NV12},
    {kFullRange420, GST_VIDEO_FORMAT_NV12},
    {FourCharCode("y420"), GST_VIDEO_FORMAT_I420},
    {FourCharCode("BGRA"), GST_VIDEO_FORMAT_BGRA},
    {FourCharCode("BGRA"), GST_VIDEO_FORMAT_BGRx},
    {32, GST_VIDEO_FORMAT_ARGB},
    {32, GST_VIDEO_FORMAT_xRGB},
    {FourCharCode("RGBA"), GST_VIDEO_FORMAT_RGBA},
    {FourCharCode("RGBA"), GST_VIDEO_FORMAT_RGBx},
    {FourCharCode("ABGR"), GST_VIDEO_FORMAT_ABGR},
    {FourCharCode("ABGR"), GST_VIDEO_FORMAT_xBGR},
    {24, GST_VIDEO_FORMAT_RGB},
    {FourCharCode("24BG"), GST_VIDEO_FORMAT_BGR},
    {FourCharCode("v308"), GST_VIDEO_FORMAT_v308},
    {FourCharCode("v210"), GST_VIDEO_FORMAT_v210},
    {FourCharCode("L008"), GST_VIDEO_FORMAT_GRAY8},
};

}  // namespace

std::uint32_t gstreamer::PixelFormatCode(const GstVideoInfo& info) {
  const GstVideoFormat format = GST_VIDEO_INFO_FORMAT(&info);
  if (format == GST_VIDEO_FORMAT_NV12) {
    return info.colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255 ? kFullRange420 : kVideoRange420;
  }
  for (const PixelFormat& entry : kPixelFormats) {
    if (entry.format == format) return entry.code;
  }
  return 0;
}

GstPointer<GstCaps> gstreamer::RawCapsForCode(std::uint32_t code) {
  GValue formats = G_VALUE_INIT;
  g_value_init(&formats, GST_TYPE_LIST);
  for (const PixelFormat& entry : kPixelFormats) {
    if (code != 0 && entry.code != code) continue;
    if (code == 0 && entry.code == kFullRange420) continue;  // the same format once more
    GValue name = G_VALUE_INIT;
    g_value_init(&name, G_TYPE_STRING);
    g_value_set_static_string(&name, gst_video_format_to_string(entry.format));
    gst_value_list_append_and_take_value(&formats, &name);
  }
  GstPointer<GstCaps> caps;
  if (gst_value_list_get_size(&formats) > 0) {
    caps.reset(gst_caps_new_empty_simple("video/x-raw"));
    gst_caps_set_value(caps.get(), "format", &formats);
    if (code == kFullRange420) {
      // The range is what tells the two codes of this format apart.
      gst_caps_set_simple(caps.get(), "colorimetry", G_TYPE_STRING, "1:4:0:0", nullptr);
    }
  }
  g_value_unset(&formats);
  return caps;
}
