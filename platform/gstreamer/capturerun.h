// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_CAPTURERUN_H
#define ZORVEX_PLATFORM_GSTREAMER_CAPTURERUN_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "platform/gstreamer/audiooutput.h"
#include "platform/gstreamer/pipeline.h"
#include "platform/gstreamer/recordertap.h"
#include "platform/gstreamer/soundchunker.h"
#include "platform/gstreamer/sourcedevice.h"
#include "platform/gstreamer/videooutput.h"

namespace gstreamer {

/// One run of one device of a session: a pipeline from the device's source to the outputs.
///
///     source -> [queue] -> [decoder] -> [converter -> wanted caps] -> video sink
///       |  `--> [queue -> converter -> first caps] -> sound chunker
///       `-- recorder tap: the device's own streams, before anything is done to them
///
/// The brackets are there only where they are needed: a native format that suits the wish passes
/// through untouched. The queues keep a slow callback from holding up a recording or the other
/// stream of a device; they drop the oldest when they are full. The sound keeps the format that it
/// begins with, whatever the device changes to.
class CaptureRun : public std::enable_shared_from_this<CaptureRun> {
 public:
  /// Where the media goes; either may be none.
  struct Outputs {
    Retained<VideoOutput> video;
    Retained<AudioOutput> audio;
  };

  CaptureRun(Retained<SourceDevice> device, Outputs outputs, std::shared_ptr<RecorderTap> tap,
             bool isRecorded);

  /// Starts the device and waits for its first media where some is expected, but not long: a device
  /// may be slow. False when it failed or did not answer in time.
  bool Start();
  /// Stops it, also while it starts, and waits for its end at most for `limit`. What is late goes
  /// on by itself. Any number of threads may stop a run.
  void Stop(std::chrono::milliseconds limit);

  /// Whether the calling thread is inside a delegate that this run calls: the run cannot end before
  /// that returns.
  bool IsInsideDelegate() const;
  /// Whether any thread is.
  bool IsAnybodyInsideDelegate() const;

 private:
  bool Begin();
  void End();
  bool Build(const CVPixelBufferAttributes& wish, const SourceDevice::Source& source);
  bool BuildPictures(const CVPixelBufferAttributes& wish, const SourceDevice::Source& source);
  bool BuildSound(const SourceDevice::Source& source, const char* pad);
  void WatchSource(MovieRecorder::Track track, GstPad* pad);
  template <MovieRecorder::Track kTrack>
  static GstPadProbeReturn Record(GstPad* pad, GstPadProbeInfo* info, gpointer self);
  bool Has(QTMediaType mediaType) const;

  const Retained<SourceDevice> device_;
  const Outputs outputs_;
  const std::unique_ptr<SoundChunker> chunker_;  ///< in front of the audio output
  const std::shared_ptr<RecorderTap> tap_;
  const bool isRecorded_;
  Pipeline pipeline_;
  std::mutex beginMutex_;   ///< held while the run is built and set going
  bool streaming_ = false;  ///< the device's source is in use; guarded by beginMutex_
  std::atomic<bool> stopped_ = false;
  std::mutex endMutex_;
  std::condition_variable ended_;
  bool hasEnded_ = false;  ///< guarded by endMutex_, as the next
  bool isLate_ = false;    ///< did not end in the time that it was given
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_CAPTURERUN_H
