// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_V4L2_V4L2FORMATS_H
#define ZORVEX_PLATFORM_V4L2_V4L2FORMATS_H

#include <vector>

#include "platform/nsobject.h"
#include "platform/qtformatdescription.h"

namespace gstreamer {

/// What an open V4L2 node offers, in the driver's order: one description for each pixel format and
/// size, with the size as its encoded one. Of a range of sizes the smallest and the largest are
/// given; a driver that lists no sizes gets one description without a size.
///
/// The format type is the platform's code of the pixel format, 'jpeg' for Motion JPEG and 'avc1'
/// for H.264; where the platform has none, V4L2's own four characters, the first one highest.
std::vector<Retained<QTFormatDescription>> DescribeV4L2Formats(int descriptor);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_V4L2_V4L2FORMATS_H
