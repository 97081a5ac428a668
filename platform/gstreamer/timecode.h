// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_TIMECODE_H
#define ZORVEX_PLATFORM_GSTREAMER_TIMECODE_H

#include <gst/gst.h>

#include "platform/smptetime.h"

namespace gstreamer {

/// Reads the time code that travels with a buffer; false when it has none.
bool ReadTimeCode(GstBuffer* buffer, SMPTETime& timeCode);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_TIMECODE_H
