// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FIREWIRE_PLUGGEDSOURCE_H
#define ZORVEX_PLATFORM_FIREWIRE_PLUGGEDSOURCE_H

#include <gst/gst.h>

#include <functional>

namespace firewire {

/// Wraps a source with the pads "src" and "sound", which belongs to the result: floating, or null.
///
/// While it runs it looks four times a second whether its device is there, on a thread of its own;
/// when not, it posts an error and ends the stream. The receiving elements of the bus cannot do
/// that: they wait for the next frame for ever, and where the whole bus goes, as with an adapter
/// card, they are not even told.
GstElement* NewPluggedSource(GstElement* source, std::function<bool()> isConnected);

}  // namespace firewire

#endif  // ZORVEX_PLATFORM_FIREWIRE_PLUGGEDSOURCE_H
