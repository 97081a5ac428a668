// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FIREWIRE_HDVSOURCE_H
#define ZORVEX_PLATFORM_FIREWIRE_HDVSOURCE_H

#include <gst/gst.h>

namespace firewire {

/// Makes a source with two pads of an element that gives an HDV stream (video/mpegts, MPEG-2
/// pictures and layer II sound): floating, or null where a decoder is missing.
///
/// Pad "src" gives the pictures, raw; pad "sound" their sound as interleaved PCM. Both are there
/// from the start and stay when the tape's recordings follow on each other, each with a program of
/// its own. `stream` is floating and belongs to the result.
GstElement* NewHdvSource(GstElement* stream);

}  // namespace firewire

#endif  // ZORVEX_PLATFORM_FIREWIRE_HDVSOURCE_H
