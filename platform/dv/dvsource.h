// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_DV_DVSOURCE_H
#define ZORVEX_PLATFORM_DV_DVSOURCE_H

#include <gst/gst.h>

namespace gstreamer {

/// Makes a source with two pads of an element that gives a DV system stream (video/x-dv,
/// systemstream=true, one frame of 120000 or 144000 bytes in each buffer, live): floating, or null.
///
/// Pad "src" gives the whole DV frames as pictures (video/x-dv, systemstream=false), by reference,
/// with the time code of their subcode area as a meta; pad "sound" their sound as interleaved
/// stereo PCM of 16 bits, with the time of its picture, from a thread of its own. Frames that a
/// deck read in a search have no sound. What is no frame is left out; nothing in a frame can do
/// harm. `stream` is floating and belongs to the result, which is null when it cannot be linked.
GstElement* NewDvSource(GstElement* stream);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_DV_DVSOURCE_H
