// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_ZORVEXAUDIODELEGATE_H
#define ZORVEX_CAPTURE_ZORVEXAUDIODELEGATE_H

#include "capture/zorvex.h"
#include "foundation/threads/lockobject.h"
#include "platform/audioconverter.h"
#include "platform/qtcaptureoutput.h"

/// Converts each buffer of a capture's sound to what the host asked for and hands it to the host's
/// callback.
///
/// DelegateMutex guards every field and is held through conversion and callback, with the same
/// promise as that of the video delegate. A buffer that cannot be converted is dropped; the next
/// one is tried anew. Nothing is allocated per buffer.
class ZRVXDeviceDecompressedAudioOutputDelegate final
    : public QTCaptureDecompressedAudioOutputDelegate {
 public:
  /// 0 stands for 12 (signed packed integers), 44100 Hz, 2 channels and 2 bytes per sample.
  ZRVXDeviceDecompressedAudioOutputDelegate(ZRVXAudioCallBack callBack, long data,
                                            unsigned int formatFlags, unsigned long sampleRate,
                                            unsigned long channels, unsigned long bytesPerSample);

  /// Clears the callback when it is the given one and, independently, the data when it is the given
  /// one; whether either was.
  bool InvalidateAudioCallBack(ZRVXAudioCallBack callBack, long data);

  void CaptureOutput(QTCaptureOutput* captureOutput, QTSampleBuffer* sampleBuffer,
                     QTCaptureConnection* connection) override;

 private:
  ~ZRVXDeviceDecompressedAudioOutputDelegate() override;
  bool MakeConverter(QTSampleBuffer& sampleBuffer);

  ZRVXAudioCallBack pAudioCallBack;                      ///< null once invalidated
  long AudioCallBackData;                                ///< 0 once invalidated
  AudioStreamBasicDescription InputStreamDescription{};  ///< of the first buffer
  AudioStreamBasicDescription OutputStreamDescription;   ///< as the host wants it
  AudioConverterRef AudioConverter = nullptr;            ///< made for the first buffer and kept
  alignas(16) unsigned char ConvertSamplesBuffer[65535];
  LLockObject DelegateMutex;
};

#endif  // ZORVEX_CAPTURE_ZORVEXAUDIODELEGATE_H
