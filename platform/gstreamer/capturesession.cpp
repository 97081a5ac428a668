// SPDX-License-Identifier: MIT
#include "platform/gstreamer/capturesession.h"

#include <algorithm>

#include "platform/boundedcall.h"

namespace gstreamer {

namespace {

using std::chrono::milliseconds;

/// How long a stop waits for the device and for a callback in progress.
constexpr milliseconds kStopLimit{3000};
/// How long the removal of a movie output waits for its file to be finalised.
constexpr milliseconds kFinaliseLimit{5000};

}  // namespace

CaptureSession::CaptureSession() : tap_(std::make_shared<RecorderTap>()) {}

CaptureSession::~CaptureSession() {
  StopRunning();
  for (const auto& [output, recorder] : movieOutputs_)
    output->EndRecording(kFinaliseLimit);
}

bool CaptureSession::AddInput(QTCaptureInput* input) {
  auto* deviceInput = dynamic_cast<DeviceInput*>(input);
  if (!deviceInput || !deviceInput->Device()) return false;
  const bool isOpen = deviceInput->Device()->IsOpen();
  const std::lock_guard lock(mutex_);
  if (input_) return input_.get() == deviceInput;
  (isOpen ? input_ : refusedInput_) = Retained(deviceInput);
  return isOpen;
}

void CaptureSession::RemoveInput(QTCaptureInput* input) {
  std::shared_ptr<CaptureRun> run;
  {
    const std::lock_guard lock(mutex_);
    if (refusedInput_.get() == input) refusedInput_ = nullptr;
    if (!input_ || input_.get() != input) return;
    input_ = nullptr;
    run = std::move(run_);
  }
  if (run) run->Stop(StopLimit());
}

bool CaptureSession::AddOutput(QTCaptureOutput* output) {
  if (auto* video = dynamic_cast<VideoOutput*>(output)) return AddVideoOutput(video);
  if (auto* movie = dynamic_cast<MovieFileOutput*>(output)) return AddMovieOutput(movie);
  return false;
}

bool CaptureSession::AddVideoOutput(VideoOutput* output) {
  if (!CanConvertTo(output->Attributes())) {
    // What cannot be made is forgotten, so that the output can join later with another wish or
    // none.
    output->SetPixelBufferAttributes({});
    return false;
  }
  bool isRunning = false;
  {
    const std::lock_guard lock(mutex_);
    if (videoOutput_) return videoOutput_.get() == output;
    videoOutput_ = Retained(output);
    isRunning = running_;
  }
  if (isRunning) Restart();
  return true;
}

bool CaptureSession::AddMovieOutput(MovieFileOutput* output) {
  std::shared_ptr<MovieRecorder> recorder = output->BeginRecording();
  if (!recorder) return false;
  bool isRunning = false;
  {
    const std::lock_guard lock(mutex_);
    const bool isPresent =
        std::any_of(movieOutputs_.begin(), movieOutputs_.end(),
                    [&](const auto& entry) { return entry.first.get() == output; });
    if (isPresent) return true;
    movieOutputs_.emplace_back(Retained(output), std::move(recorder));
    isRunning = running_;
  }
  FeedRecorders();
  // A run that was made without a recording has nothing between the camera and the callback.
  if (isRunning) Restart();
  return true;
}

void CaptureSession::RemoveOutput(QTCaptureOutput* output) {
  Retained<MovieFileOutput> movie;
  {
    const std::lock_guard lock(mutex_);
    if (videoOutput_.get() == output) videoOutput_ = nullptr;
    const auto found = std::find_if(movieOutputs_.begin(), movieOutputs_.end(),
                                    [&](const auto& entry) { return entry.first.get() == output; });
    if (found != movieOutputs_.end()) {
      movie = std::move(found->first);
      movieOutputs_.erase(found);
    }
  }
  if (!movie) return;
  FeedRecorders();
  movie->EndRecording(kFinaliseLimit);
}

void CaptureSession::FeedRecorders() {
  std::vector<std::shared_ptr<MovieRecorder>> recorders;
  const std::lock_guard lock(mutex_);
  for (const auto& entry : movieOutputs_)
    recorders.push_back(entry.second);
  tap_->Set(std::move(recorders));
}

std::shared_ptr<CaptureRun> CaptureSession::NewRun(const std::shared_ptr<CaptureRun>& old) {
  const std::lock_guard lock(mutex_);
  if (!running_ || run_ != old) return nullptr;
  if (!input_ && refusedInput_ && refusedInput_->Device()->IsOpen()) {
    input_ = std::exchange(refusedInput_, nullptr);
  }
  run_ = input_ ? std::make_shared<CaptureRun>(input_->Device(), videoOutput_, tap_,
                                               !movieOutputs_.empty())
                : nullptr;
  return run_;
}

void CaptureSession::StartRunning() {
  {
    const std::lock_guard lock(mutex_);
    if (running_) return;
    running_ = true;  // before the first frame, whose callback may stop the session
  }
  Restart();
}

void CaptureSession::Restart() {
  if (!VideoOutput::IsInsideAnyDelegate()) {
    ChangeRun();
    return;
  }
  // A device is free for its next run only after the callback that this call may have come from.
  RunBounded(milliseconds::zero(), [self = Retained<CaptureSession>(this)] { self->ChangeRun(); });
}

void CaptureSession::ChangeRun() {
  std::shared_ptr<CaptureRun> old;
  {
    const std::lock_guard lock(mutex_);
    old = run_;
  }
  // It stays the session's run until it has ended, so that a stop meanwhile waits for it as well.
  if (old) old->Stop(StopLimit());
  const std::shared_ptr<CaptureRun> run = NewRun(old);
  if (run && run->Start()) return;
  const std::lock_guard lock(mutex_);
  if (run_ != run) return;  // another thread has stopped the session or started it anew
  run_ = nullptr;
  running_ = false;
}

void CaptureSession::StopRunning() {
  std::shared_ptr<CaptureRun> run;
  {
    const std::lock_guard lock(mutex_);
    run = run_;
  }
  // The session runs until its run has stopped: a second thread that stops it meanwhile waits too.
  if (run) run->Stop(StopLimit());
  const std::lock_guard lock(mutex_);
  if (run_ != run) return;
  run_ = nullptr;
  running_ = false;
}

bool CaptureSession::IsRunning() const {
  const std::lock_guard lock(mutex_);
  return running_;
}

milliseconds CaptureSession::StopLimit() const {
  Retained<VideoOutput> output;
  {
    const std::lock_guard lock(mutex_);
    output = videoOutput_;
  }
  // The run cannot come to its end before the callback that this call was made from.
  return output && output->IsInsideDelegate() ? milliseconds::zero() : kStopLimit;
}

}  // namespace gstreamer
