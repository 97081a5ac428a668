// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SOUND_PIPEWIRESOURCES_H
#define ZORVEX_PLATFORM_SOUND_PIPEWIRESOURCES_H

#include <memory>

#include "platform/sound/serversocket.h"
#include "platform/sound/soundservers.h"

namespace gstreamer {

/// Asks a PipeWire daemon, by GStreamer's device provider.
SourcesAnswer AskPipeWire(const std::shared_ptr<ServerSocket>& server);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_SOUND_PIPEWIRESOURCES_H
