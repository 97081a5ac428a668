// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_MEDIASOURCE_H
#define ZORVEX_PLATFORM_SIMULATED_MEDIASOURCE_H

#include <gst/gst.h>

#include <memory>

#include "platform/simulated/simulatedhardware.h"
#include "platform/simulated/sourceparts.h"

/// Of the sources of one device, one counts the frames that the cable is pulled after and tells
/// what has happened; the others end their streams.
enum class MediaRole { Principal, Companion };

/// Makes a live source element with a pad "src" that gives the frames of a medium when they are
/// due, and acts out the failures of its device. Floating.
GstElement* NewMediaSource(std::shared_ptr<SimulatedHardware> hardware,
                           std::unique_ptr<SourceTiming> timing,
                           std::unique_ptr<SourceMedium> medium, MediaRole role);

#endif  // ZORVEX_PLATFORM_SIMULATED_MEDIASOURCE_H
