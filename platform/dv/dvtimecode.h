// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_DV_DVTIMECODE_H
#define ZORVEX_PLATFORM_DV_DVTIMECODE_H

#include <gst/gst.h>

#include <optional>

#include "platform/dv/dvframe.h"

namespace gstreamer {

/// A time code as it stands on a DV tape.
struct DvTimeCode {
  int hours = 0;
  int minutes = 0;
  int seconds = 0;
  int frames = 0;
  bool dropFrame = false;

  bool operator==(const DvTimeCode&) const = default;
};

/// The time code in the subcode area of a whole frame: the one that most of its copies say, those
/// left out that are no time codes. None when there is no such copy.
std::optional<DvTimeCode> ReadDvTimeCode(DvBytes frame);

/// Makes this the time code of a buffer, which is writable; none takes away what it has. The meta
/// stays with a pooled buffer, so that a running source allocates none.
void SetDvTimeCode(GstBuffer* buffer, const std::optional<DvTimeCode>& timeCode, DvSystem system);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_DV_DVTIMECODE_H
