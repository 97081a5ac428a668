// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AVC_AVCUNIT_H
#define ZORVEX_PLATFORM_AVC_AVCUNIT_H

#include <chrono>
#include <optional>

#include "platform/avc/fcpchannel.h"

namespace avc {

/// What a unit is made of, as far as it matters here.
struct Subunits {
  bool hasTapeRecorder = false;
  bool hasCamera = false;
};

/// Asks a unit for its subunits. None when it does not answer in time, or does not know them.
std::optional<Subunits> ReadSubunits(FcpChannel& channel, std::chrono::milliseconds limit);

/// What a unit sends: a DV or an MPEG-2 transport stream, of 60 or 50 fields a second.
enum class Signal { Dv60, Dv50, Hdv60, Hdv50 };

/// Asks the tape recorder of a unit. None when it does not answer in time, or sends something else.
std::optional<Signal> ReadOutputSignal(FcpChannel& channel, std::chrono::milliseconds limit);

}  // namespace avc

#endif  // ZORVEX_PLATFORM_AVC_AVCUNIT_H
