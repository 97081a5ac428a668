// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SOUND_SOUNDMODE_H
#define ZORVEX_PLATFORM_SOUND_SOUNDMODE_H

#include <gst/gst.h>

#include <vector>

#include "platform/gstreamer/gstpointer.h"
#include "platform/nsobject.h"
#include "platform/qtformatdescription.h"

/// Which mode a sound device runs in.
namespace gstreamer {

/// The best of the modes that a device offers, as fixed caps of interleaved PCM: 48000 Hz or the
/// nearest rate to it; two channels where there is a choice; the sample format that needs least
/// work. Null when there is no PCM among them.
GstPointer<GstCaps> ChooseSoundMode(GstCaps* offered);

/// One description for each sample format on offer, at the rate and the channels that would be
/// chosen for it.
std::vector<Retained<QTFormatDescription>> DescribeSoundModes(GstCaps* offered);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_SOUND_SOUNDMODE_H
