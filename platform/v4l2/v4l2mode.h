// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_V4L2_V4L2MODE_H
#define ZORVEX_PLATFORM_V4L2_V4L2MODE_H

#include "platform/cvpixelbuffer.h"
#include "platform/gstreamer/gstpointer.h"

namespace gstreamer {

/// Chooses the mode that a camera is to run in, from all that it offers: one format, size and rate,
/// fixed. Null when it offers nothing usable.
///
/// The size asked for is taken as it is where the camera has it, else the smallest larger one, else
/// the largest. When no size is asked for it is the largest up to 1280x720. Among the modes of that
/// size one with a usable rate (24 frames a second and more, else 15 and more) is preferred to a
/// slow one, however the others compare: raw before compressed pictures, the format asked for
/// before others, and the rate nearest to 30. So compressed pictures are chosen where only they are
/// fast enough.
GstPointer<GstCaps> ChooseMode(GstCaps* offered, const CVPixelBufferAttributes& wish);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_V4L2_V4L2MODE_H
