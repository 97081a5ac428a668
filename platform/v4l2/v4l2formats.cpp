// SPDX-License-Identifier: MIT
#include "platform/v4l2/v4l2formats.h"

#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <optional>

#include "platform/fourcharcode.h"

namespace {

/// More than any driver has; one that never ends its list is cut off.
constexpr __u32 kMostEntries = 256;

/// The numbers 24 and 32 are codes of their own.
constexpr struct {
  __u32 driver;
  std::uint32_t platform;
} kCodes[] = {
    {V4L2_PIX_FMT_YUYV, FourCharCode("yuvs")},
    {V4L2_PIX_FMT_UYVY, FourCharCode("2vuy")},
    {V4L2_PIX_FMT_NV12, FourCharCode("420v")},
    {V4L2_PIX_FMT_YUV420, FourCharCode("y420")},
    {V4L2_PIX_FMT_ABGR32, FourCharCode("BGRA")},
    {V4L2_PIX_FMT_XBGR32, FourCharCode("BGRA")},
    {V4L2_PIX_FMT_BGR32, FourCharCode("BGRA")},
    {V4L2_PIX_FMT_ARGB32, 32},
    {V4L2_PIX_FMT_XRGB32, 32},
    {V4L2_PIX_FMT_RGB32, 32},
    {V4L2_PIX_FMT_RGBA32, FourCharCode("RGBA")},
    {V4L2_PIX_FMT_RGBX32, FourCharCode("RGBA")},
    {V4L2_PIX_FMT_BGRA32, FourCharCode("ABGR")},
    {V4L2_PIX_FMT_BGRX32, FourCharCode("ABGR")},
    {V4L2_PIX_FMT_RGB24, 24},
    {V4L2_PIX_FMT_BGR24, FourCharCode("24BG")},
    {V4L2_PIX_FMT_GREY, FourCharCode("L008")},
    {V4L2_PIX_FMT_MJPEG, FourCharCode("jpeg")},
    {V4L2_PIX_FMT_JPEG, FourCharCode("jpeg")},
    {V4L2_PIX_FMT_H264, FourCharCode("avc1")},
};

std::uint32_t CodeOf(__u32 pixelFormat) {
  for (const auto& code : kCodes) {
    if (code.driver == pixelFormat) return code.platform;
  }
  return __builtin_bswap32(pixelFormat);
}

template <class Question>
bool Ask(int descriptor, unsigned long request, Question& question) {
  int result;
  do {
    result = ioctl(descriptor, request, &question);
  } while (result < 0 && errno == EINTR);
  return result == 0;
}

/// The sizes of a pixel format; empty when the driver lists none.
std::vector<NSSize> SizesOf(int descriptor, __u32 pixelFormat) {
  const auto size = [](__u32 width, __u32 height) {
    return NSSize{static_cast<double>(width), static_cast<double>(height)};
  };
  std::vector<NSSize> sizes;
  v4l2_frmsizeenum entry{};
  entry.pixel_format = pixelFormat;
  for (; entry.index < kMostEntries && Ask(descriptor, VIDIOC_ENUM_FRAMESIZES, entry);
       ++entry.index) {
    if (entry.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
      sizes.push_back(size(entry.discrete.width, entry.discrete.height));
      continue;
    }
    const v4l2_frmsize_stepwise& range = entry.stepwise;
    sizes.push_back(size(range.min_width, range.min_height));
    if (range.max_width != range.min_width || range.max_height != range.min_height) {
      sizes.push_back(size(range.max_width, range.max_height));
    }
    break;  // a range is the only entry
  }
  return sizes;
}

Retained<QTFormatDescription> Describe(std::uint32_t code, std::optional<NSSize> size) {
  QTFormatDescriptionAttributes attributes;
  attributes.QTFormatDescriptionVideoEncodedPixelsSizeAttribute = size;
  return MakeRetained<QTFormatDescription>(QTMediaType::QTMediaTypeVideo, code, attributes);
}

}  // namespace

std::vector<Retained<QTFormatDescription>> gstreamer::DescribeV4L2Formats(int descriptor) {
  std::vector<Retained<QTFormatDescription>> descriptions;
  v4l2_fmtdesc format{};
  format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  for (; format.index < kMostEntries && Ask(descriptor, VIDIOC_ENUM_FMT, format); ++format.index) {
    const std::uint32_t code = CodeOf(format.pixelformat);
    const std::vector<NSSize> sizes = SizesOf(descriptor, format.pixelformat);
    if (sizes.empty()) descriptions.push_back(Describe(code, std::nullopt));
    for (const NSSize& size : sizes)
      descriptions.push_back(Describe(code, size));
  }
  return descriptions;
}
