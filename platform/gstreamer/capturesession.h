// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_CAPTURESESSION_H
#define ZORVEX_PLATFORM_GSTREAMER_CAPTURESESSION_H

#include <chrono>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/gstreamer/capturerun.h"
#include "platform/gstreamer/movierecorder.h"
#include "platform/gstreamer/sourcedevice.h"
#include "platform/gstreamer/videooutput.h"
#include "platform/qtcapturesession.h"

namespace gstreamer {

class DeviceInput final : public QTCaptureDeviceInput {
 public:
  /// `device` may be none, when it is not one of this backend: no session takes such an input.
  explicit DeviceInput(Retained<SourceDevice> device) : device_(std::move(device)) {}
  const Retained<SourceDevice>& Device() const { return device_; }

 private:
  const Retained<SourceDevice> device_;
};

/// A session: what is in it, and the run while it runs. Outputs and inputs are kept when it stops,
/// and a start makes a new run of them.
class CaptureSession final : public QTCaptureSession {
 public:
  CaptureSession();
  ~CaptureSession() override;

  bool AddInput(QTCaptureInput* input) override;
  void RemoveInput(QTCaptureInput* input) override;
  bool AddOutput(QTCaptureOutput* output) override;
  void RemoveOutput(QTCaptureOutput* output) override;
  void StartRunning() override;
  void StopRunning() override;
  bool IsRunning() const override;

 private:
  bool AddVideoOutput(VideoOutput* output);
  bool AddMovieOutput(MovieFileOutput* output);
  /// Makes the run of the present inputs and outputs in place of `old`, unless the session was
  /// stopped or got another run meanwhile.
  std::shared_ptr<CaptureRun> NewRun(const std::shared_ptr<CaptureRun>& old);
  /// Replaces the run by one with the present outputs; in the background when called from inside
  /// a delegate.
  void Restart();
  void ChangeRun();
  void FeedRecorders();
  std::chrono::milliseconds StopLimit() const;

  mutable std::mutex mutex_;  ///< guards what follows; never held across a wait
  Retained<DeviceInput> input_;
  Retained<DeviceInput> refusedInput_;  ///< its device was closed when it was to join
  Retained<VideoOutput> videoOutput_;
  std::vector<std::pair<Retained<MovieFileOutput>, std::shared_ptr<MovieRecorder>>> movieOutputs_;
  const std::shared_ptr<RecorderTap> tap_;
  std::shared_ptr<CaptureRun> run_;
  bool running_ = false;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_CAPTURESESSION_H
