// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_PICTURECONVERSION_H
#define ZORVEX_PLATFORM_GSTREAMER_PICTURECONVERSION_H

#include "platform/cvpixelbuffer.h"
#include "platform/gstreamer/pipeline.h"

namespace gstreamer {

/// Whether pictures of these attributes can be made at all.
bool CanConvertTo(const CVPixelBufferAttributes& wish);

/// Appends what makes pictures of these attributes from a stream of the caps `native`: nothing when
/// it gives them already, a decoder for compressed ones, a converter for others. False when that
/// cannot be had.
bool AppendPictureConversion(Chain& chain, const CVPixelBufferAttributes& wish,
                             const GstCaps* native);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_PICTURECONVERSION_H
