// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SIMULATEDSOURCE_H
#define ZORVEX_PLATFORM_SIMULATED_SIMULATEDSOURCE_H

#include <gst/gst.h>

#include <memory>

#include "platform/simulated/simulatedhardware.h"

/// Makes a live source element for a device: floating, with a pad "src", for a camcorder also
/// "sound", both of fixed caps, its buffers from a pool of its own. It keeps the hardware alive.
/// Any number of them may exist, one of them in use.
///
/// Each start counts frames from 0, in the offset of the buffers that are pictures and in the
/// number burnt into a camera's, and every frame has its time by that number; those of a camcorder
/// have the time at which they pass the head, and their number and time code from the tape. Sound
/// counts samples, from the start of the capture or of the tape. A frame is due at its time and
/// waits as long as a few others; of a consumer that is slower the source goes on with the frame of
/// the moment, posts a QOS message and marks the discontinuity, as a camera's driver does.
///
/// The element posts RESOURCE errors: NOT_FOUND when it starts unplugged, READ when it is unplugged
/// while it runs.
GstElement* NewSimulatedSource(const std::shared_ptr<SimulatedHardware>& hardware);

#endif  // ZORVEX_PLATFORM_SIMULATED_SIMULATEDSOURCE_H
