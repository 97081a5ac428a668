// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_QTCAPTUREOUTPUT_H
#define ZORVEX_PLATFORM_QTCAPTUREOUTPUT_H

#include <zorvex/platform/cvpixelbuffer.h>
#include <zorvex/platform/nsobject.h>
#include <zorvex/platform/qtsamplebuffer.h>

class QTCaptureConnection;  // of the input that the media comes from

/// Where a session's media goes. Belongs to one session at a time.
class QTCaptureOutput : public NSObject {};

/// Receives the frames of a decompressed video output, one at a time, on a thread of the platform.
class QTCaptureDecompressedVideoOutputDelegate : public NSObject {
 public:
  /// captureOutput:didOutputVideoFrame:withSampleBuffer:fromConnection:. `videoFrame` and
  /// `sampleBuffer` are valid during the call only; `connection` may be null. An exception ends the
  /// call and is dropped by the platform.
  virtual void CaptureOutput(QTCaptureOutput* captureOutput, CVPixelBuffer* videoFrame,
                             QTSampleBuffer* sampleBuffer, QTCaptureConnection* connection) = 0;
};

/// Every frame as pixels in memory. Thread-safe.
class QTCaptureDecompressedVideoOutput : public QTCaptureOutput {
 public:
  /// The delegate is retained while it is set. After setting none, no call of the old one begins;
  /// one that is in progress goes on.
  virtual void SetDelegate(QTCaptureDecompressedVideoOutputDelegate* delegate) = 0;
  /// Takes effect when the session starts next.
  virtual void SetPixelBufferAttributes(const CVPixelBufferAttributes& attributes) = 0;
};

/// Receives the sound of a decompressed audio output, one buffer at a time, on a thread of the
/// platform.
class QTCaptureDecompressedAudioOutputDelegate : public NSObject {
 public:
  /// captureOutput:didOutputAudioSampleBuffer:fromConnection:. `sampleBuffer` is valid during the
  /// call only; `connection` may be null.
  virtual void CaptureOutput(QTCaptureOutput* captureOutput, QTSampleBuffer* sampleBuffer,
                             QTCaptureConnection* connection) = 0;
};

/// The sound as interleaved samples in memory, in buffers that last 1/25 s, for which every usual
/// rate has a whole number of frames: so a delegate that converts each buffer by itself loses no
/// time. (Rates that 25 does not divide lose a part of a frame in each.) Where that would be more
/// than 64 KiB of 32-bit samples they last a half or a quarter of it.
/// All buffers of a run have one format; less than a buffer at the end of a run is dropped.
/// Thread-safe.
class QTCaptureDecompressedAudioOutput : public QTCaptureOutput {
 public:
  /// As that of the video output.
  virtual void SetDelegate(QTCaptureDecompressedAudioOutputDelegate* delegate) = 0;
};

/// Records a session's stream to a file. Thread-safe.
class QTCaptureMovieFileOutput : public QTCaptureOutput {
 public:
  /// Names the file, UTF-8; an existing one is overwritten. Recording begins when the output is
  /// in a session that runs, and the file is finalised when the output is removed.
  virtual void RecordToOutputFileURL(const char* path) = 0;
};

#endif  // ZORVEX_PLATFORM_QTCAPTUREOUTPUT_H
