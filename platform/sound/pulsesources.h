// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SOUND_PULSESOURCES_H
#define ZORVEX_PLATFORM_SOUND_PULSESOURCES_H

#include <memory>

#include "platform/sound/serversocket.h"
#include "platform/sound/soundservers.h"

namespace gstreamer {

/// Asks a PulseAudio server, or PipeWire's interface of that kind, in its native protocol.
///
/// GStreamer's device provider would tell neither the rate nor the channels of a source, and with
/// each probe it leaves a context with its memory pool behind: too much for a list that a host may
/// ask for every second. The three requests that are needed here are the same since 2009.
SourcesAnswer AskPulseAudio(const std::shared_ptr<ServerSocket>& server);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_SOUND_PULSESOURCES_H
