// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_CAPTURERUN_H
#define ZORVEX_PLATFORM_GSTREAMER_CAPTURERUN_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/gstreamer/movierecorder.h"
#include "platform/gstreamer/pipeline.h"
#include "platform/gstreamer/sourcedevice.h"
#include "platform/gstreamer/videooutput.h"

namespace gstreamer {

/// The recorders that a run feeds, changed by one thread while another feeds them.
class RecorderTap {
 public:
  void Set(std::vector<std::shared_ptr<MovieRecorder>> recorders);
  /// On the streaming thread: passes a picture by reference.
  void Push(GstBuffer* buffer, GstPad* pad);

 private:
  std::mutex mutex_;  ///< guards what follows; never held while a recorder is fed
  std::shared_ptr<const std::vector<std::shared_ptr<MovieRecorder>>> recorders_;
};

/// One run of a session: a pipeline from the device's source to the video output.
///
///     source -> [queue] -> [decoder] -> [converter -> wanted caps] -> video sink
///       `-- recorder tap: the device's own stream, before anything is done to it
///
/// The brackets are there only where they are needed: a native format that suits the wish passes
/// through untouched. The queue keeps a slow callback from holding up a recording; it drops the
/// oldest picture when it is full.
class CaptureRun : public std::enable_shared_from_this<CaptureRun> {
 public:
  /// `output` may be none: the stream is then only recorded.
  CaptureRun(Retained<SourceDevice> device, Retained<VideoOutput> output,
             std::shared_ptr<RecorderTap> tap, bool isRecorded);

  /// Starts the device and waits for its first picture, but not long: a device may be slow. False
  /// when it failed or did not answer in time.
  bool Start();
  /// Stops it, also while it starts, and waits for its end at most for `limit`. What is late goes
  /// on by itself. Any number of threads may stop a run.
  void Stop(std::chrono::milliseconds limit);

 private:
  bool Begin();
  void End();
  std::chrono::milliseconds CloseLimit() const;
  bool Build(const CVPixelBufferAttributes& wish, const SourceDevice::Source& source);
  bool AppendConversion(const CVPixelBufferAttributes& wish, const GstCaps* native);
  bool Append(GstElement* element);
  void WatchSource();

  const Retained<SourceDevice> device_;
  const Retained<VideoOutput> output_;
  const std::shared_ptr<RecorderTap> tap_;
  const bool isRecorded_;
  Pipeline pipeline_;
  GstElement* last_ = nullptr;  ///< of the chain so far, owned by the pipeline
  std::mutex beginMutex_;       ///< held while the run is built and set going
  bool streaming_ = false;      ///< the device's source is in use; guarded by beginMutex_
  std::atomic<bool> stopped_ = false;
  std::mutex endMutex_;
  std::condition_variable ended_;
  bool hasEnded_ = false;  ///< guarded by endMutex_, as the next
  bool isLate_ = false;    ///< did not end in the time that it was given
};

/// Whether pictures of these attributes can be made at all.
bool CanConvertTo(const CVPixelBufferAttributes& wish);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_CAPTURERUN_H
