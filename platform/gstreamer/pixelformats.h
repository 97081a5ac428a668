// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_PIXELFORMATS_H
#define ZORVEX_PLATFORM_GSTREAMER_PIXELFORMATS_H

#include <gst/video/video.h>

#include <cstdint>

#include "platform/cvpixelbuffer.h"
#include "platform/gstreamer/gstpointer.h"

/// The platform's pixel format codes and GStreamer's formats, both ways over one table.
namespace gstreamer {

/// The same layout in two ranges: luma from 16 to 235, or from 0 to 255.
constexpr std::uint32_t kVideoRange420 = FourCharCode("420v");
constexpr std::uint32_t kFullRange420 = FourCharCode("420f");

/// What a device that sends DV calls its pictures, in StreamDescriptions.
constexpr std::uint32_t kDvPalCode = FourCharCode("dvcp");
constexpr std::uint32_t kDvNtscCode = FourCharCode("dvc ");

/// The code of a format; 0 when it has none.
std::uint32_t PixelFormatCode(const GstVideoInfo& info);

/// Caps "video/x-raw" with the formats that a code stands for, with those of every code for code 0;
/// null for a code that is not in the table.
GstPointer<GstCaps> RawCapsForCode(std::uint32_t code);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_PIXELFORMATS_H
