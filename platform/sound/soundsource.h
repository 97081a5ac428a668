// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SOUND_SOUNDSOURCE_H
#define ZORVEX_PLATFORM_SOUND_SOUNDSOURCE_H

#include <gst/gst.h>

#include <chrono>

#include "platform/gstreamer/gstpointer.h"

namespace gstreamer {

/// How much sound a source is to give at once, and how much it keeps while nobody fetches it.
constexpr std::chrono::microseconds kSoundBuffer{20000};
constexpr std::chrono::microseconds kSoundKept{400000};

/// Makes of GStreamer's own sound sources, which differ in this, one that a session runs on: a bin
/// with a pad "src".
///
/// - Its buffers have the running time of the pipeline's clock (SoundTimeline); the bin offers no
///   clock.
/// - When the source fails or ends without a word, the bin posts one error, lets the device go and
///   ends its stream. Errors after the first one are not passed on: a source whose server died
///   repeats them as fast as it can.
///
/// Takes over `source`, which is in state NULL or READY; the bin is floating and in the same state.
GstElement* NewSoundSource(GstPointer<GstElement> source);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_SOUND_SOUNDSOURCE_H
