// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_AUDIOOUTPUT_H
#define ZORVEX_PLATFORM_GSTREAMER_AUDIOOUTPUT_H

#include "platform/gstreamer/callertracker.h"
#include "platform/qtcaptureoutput.h"

namespace gstreamer {

/// Gives the sound of a run to the delegate.
class AudioOutput final : public QTCaptureDecompressedAudioOutput {
 public:
  void SetDelegate(QTCaptureDecompressedAudioOutputDelegate* delegate) override {
    gate_.Set(delegate);
  }

  /// On the streaming thread.
  void Deliver(QTSampleBuffer& sound) {
    gate_.Deliver([&](QTCaptureDecompressedAudioOutputDelegate& delegate) {
      delegate.CaptureOutput(this, &sound, nullptr);
    });
  }

  CallerTracker& Callers() { return gate_.Callers(); }

 private:
  DelegateGate<QTCaptureDecompressedAudioOutputDelegate> gate_;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_AUDIOOUTPUT_H
