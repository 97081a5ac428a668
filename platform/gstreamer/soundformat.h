// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_SOUNDFORMAT_H
#define ZORVEX_PLATFORM_GSTREAMER_SOUNDFORMAT_H

#include <gst/audio/audio.h>

#include "platform/coreaudiotypes.h"
#include "platform/nsobject.h"
#include "platform/qtformatdescription.h"

namespace gstreamer {

/// The layout of interleaved samples.
AudioStreamBasicDescription DescribeSound(const GstAudioInfo& info);

/// The same as a format description of sound.
Retained<QTFormatDescription> NewSoundDescription(const AudioStreamBasicDescription& sound);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_SOUNDFORMAT_H
