// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_CAPTURESESSION_H
#define ZORVEX_PLATFORM_GSTREAMER_CAPTURESESSION_H

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

#include "platform/gstreamer/audiooutput.h"
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
  std::vector<Retained<QTCaptureConnection>> Connections() override;

 private:
  const Retained<SourceDevice> device_;
};

/// A session: what is in it, and the runs while it runs, one for each device. Outputs and inputs
/// are kept when it stops, and a start makes new runs of them.
///
/// The runs know nothing of each other: all count time by one clock, so that what they record lines
/// up, and a microphone that fails does not touch the pictures.
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
  /// The devices that a session may have: one that brings pictures, perhaps with their sound, and
  /// one of sound alone.
  enum LaneName : std::size_t { kSound, kPictures, kLanes };
  struct Lane {
    Retained<DeviceInput> input;
    Retained<DeviceInput> refused;  ///< its device was closed when it was to join
    std::shared_ptr<CaptureRun> run;
    bool hasFailed = false;  ///< to start; a recording does not wait for its media
  };
  using Runs = std::array<std::shared_ptr<CaptureRun>, kLanes>;

  bool AddVideoOutput(VideoOutput* output);
  bool AddAudioOutput(AudioOutput* output);
  bool AddMovieOutput(MovieFileOutput* output);
  bool IsDvSent() const;
  // With the lock:
  bool IsSoundWithPictures() const;
  CaptureRun::Outputs OutputsFor(LaneName lane) const;

  /// Makes the run of the present inputs and outputs in place of `old`, unless the session was
  /// stopped or got another run meanwhile.
  std::shared_ptr<CaptureRun> NewRun(LaneName lane, const std::shared_ptr<CaptureRun>& old);
  /// Replaces runs by ones with the present outputs; in the background when called from inside
  /// a delegate.
  void Restart(const std::vector<LaneName>& lanes);
  void ChangeRuns(const std::vector<LaneName>& lanes, unsigned start);
  void ChangeRun(LaneName lane);
  /// Ends the session when it has lost what it cannot run without, unless it has been started anew
  /// since.
  void Settle(unsigned start);
  void TellRecorders();
  Runs PresentRuns() const;
  void StopRuns(std::span<const std::shared_ptr<CaptureRun>> runs);
  void AwaitOtherCallers(std::chrono::milliseconds limit);

  mutable std::mutex mutex_;  ///< guards what follows; never held across a wait
  std::array<Lane, kLanes> lanes_;
  Retained<VideoOutput> videoOutput_;
  Retained<AudioOutput> audioOutput_;
  std::vector<std::pair<Retained<MovieFileOutput>, std::shared_ptr<MovieRecorder>>> movieOutputs_;
  const std::shared_ptr<RecorderTap> tap_;
  bool running_ = false;
  unsigned starts_ = 0;  ///< tells one start from the next
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_CAPTURESESSION_H
