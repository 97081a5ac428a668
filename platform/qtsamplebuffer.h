// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_QTSAMPLEBUFFER_H
#define ZORVEX_PLATFORM_QTSAMPLEBUFFER_H

#include <zorvex/platform/qtformatdescription.h>
#include <zorvex/platform/smptetime.h>

/// What audioBufferListWithOptions: is asked for.
enum QTSampleBufferAudioBufferListOptions : unsigned long {
  /// The data of each buffer begins at a multiple of 16 bytes.
  QTSampleBufferAudioBufferListOptionAssure16ByteAlignment = 1ul << 0,
};

/// A piece of sound, or what travels with a frame beside its pixels. Lives for the delegate call
/// that it is passed to.
class QTSampleBuffer {
 public:
  virtual ~QTSampleBuffer() = default;

  /// attributeForKey: QTSampleBufferSMPTETimeAttribute. The frame's time code, owned by the sample
  /// buffer, or null when the frame carries none.
  virtual const SMPTETime* SMPTETimeAttribute() const { return nullptr; }

  /// The format of the sound; null for a frame. Owned by the sample buffer.
  virtual QTFormatDescription* FormatDescription() const { return nullptr; }
  /// The sound, owned by the sample buffer; null for a frame. `options` is a union of
  /// QTSampleBufferAudioBufferListOptions.
  virtual AudioBufferList* AudioBufferListWithOptions(unsigned long options) {
    static_cast<void>(options);
    return nullptr;
  }
};

#endif  // ZORVEX_PLATFORM_QTSAMPLEBUFFER_H
