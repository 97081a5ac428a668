// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_QTSAMPLEBUFFER_H
#define ZORVEX_PLATFORM_QTSAMPLEBUFFER_H

#include <zorvex/platform/smptetime.h>

/// What travels with a frame beside its pixels. Lives for the delegate call that it is passed to.
class QTSampleBuffer {
 public:
  virtual ~QTSampleBuffer() = default;

  /// attributeForKey: QTSampleBufferSMPTETimeAttribute. The frame's time code, owned by the sample
  /// buffer, or null when the frame carries none.
  virtual const SMPTETime* SMPTETimeAttribute() const = 0;
};

#endif  // ZORVEX_PLATFORM_QTSAMPLEBUFFER_H
