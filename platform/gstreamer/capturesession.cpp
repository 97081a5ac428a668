// SPDX-License-Identifier: MIT
#include "platform/gstreamer/capturesession.h"

#include <algorithm>
#include <optional>

#include "platform/boundedcall.h"
#include "platform/gstreamer/pictureconversion.h"
#include "platform/gstreamer/pixelformats.h"

namespace gstreamer {

namespace {

using std::chrono::milliseconds;

/// How long a stop waits for the devices and for callbacks in progress.
constexpr milliseconds kStopLimit{3000};
/// How long the removal of a movie output waits for its file to be finalised.
constexpr milliseconds kFinaliseLimit{5000};

}  // namespace

std::vector<Retained<QTCaptureConnection>> DeviceInput::Connections() {
  std::vector<Retained<QTCaptureConnection>> connections;
  if (!device_) return connections;
  for (Retained<QTFormatDescription>& format : device_->StreamDescriptions())
    connections.push_back(MakeRetained<QTCaptureConnection>(std::move(format)));
  return connections;
}

CaptureSession::CaptureSession() : tap_(std::make_shared<RecorderTap>()) {}

CaptureSession::~CaptureSession() {
  StopRunning();
  for (const auto& [output, recorder] : movieOutputs_)
    output->EndRecording(kFinaliseLimit);
}

bool CaptureSession::AddInput(QTCaptureInput* input) {
  auto* deviceInput = dynamic_cast<DeviceInput*>(input);
  if (!deviceInput || !deviceInput->Device()) return false;
  SourceDevice& device = *deviceInput->Device();
  const bool isOpen = device.IsOpen();
  const LaneName name = device.HasMediaType(QTMediaType::QTMediaTypeSound) ? kSound : kPictures;
  bool isRunning = false;
  {
    const std::lock_guard lock(mutex_);
    Lane& lane = lanes_[name];
    if (lane.input) return lane.input.get() == deviceInput;
    if (name == kSound && IsSoundWithPictures()) return false;
    (isOpen ? lane.input : lane.refused) = Retained(deviceInput);
    isRunning = running_ && isOpen;
  }
  if (isRunning) Restart({name});
  return isOpen;
}

void CaptureSession::RemoveInput(QTCaptureInput* input) {
  std::shared_ptr<CaptureRun> run;
  {
    const std::lock_guard lock(mutex_);
    for (Lane& lane : lanes_) {
      if (lane.refused.get() == input) lane.refused = nullptr;
      if (!lane.input || lane.input.get() != input) continue;
      lane.input = nullptr;
      run = std::move(lane.run);
    }
  }
  StopRuns({&run, 1});
}

bool CaptureSession::AddOutput(QTCaptureOutput* output) {
  if (auto* video = dynamic_cast<VideoOutput*>(output)) return AddVideoOutput(video);
  if (auto* audio = dynamic_cast<AudioOutput*>(output)) return AddAudioOutput(audio);
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
  if (isRunning) Restart({kPictures});
  return true;
}

bool CaptureSession::AddAudioOutput(AudioOutput* output) {
  LaneName feeding = kSound;
  bool isRunning = false;
  {
    const std::lock_guard lock(mutex_);
    if (audioOutput_) return audioOutput_.get() == output;
    audioOutput_ = Retained(output);
    if (IsSoundWithPictures()) feeding = kPictures;
    isRunning = running_;
  }
  if (isRunning) Restart({feeding});
  return true;
}

bool CaptureSession::AddMovieOutput(MovieFileOutput* output) {
  std::shared_ptr<MovieRecorder> recorder = output->BeginRecording();
  if (!recorder) return false;
  if (recorder->Container().IsDvStream() && !IsDvSent()) {
    output->EndRecording(kFinaliseLimit);
    return false;
  }
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
  TellRecorders();
  // A run that was made without a recording has nothing between the camera and the callback.
  if (isRunning) Restart({kSound, kPictures});
  return true;
}

void CaptureSession::RemoveOutput(QTCaptureOutput* output) {
  Retained<MovieFileOutput> movie;
  {
    const std::lock_guard lock(mutex_);
    if (videoOutput_.get() == output) videoOutput_ = nullptr;
    if (audioOutput_.get() == output) audioOutput_ = nullptr;
    const auto found = std::find_if(movieOutputs_.begin(), movieOutputs_.end(),
                                    [&](const auto& entry) { return entry.first.get() == output; });
    if (found != movieOutputs_.end()) {
      movie = std::move(found->first);
      movieOutputs_.erase(found);
    }
  }
  if (!movie) return;
  TellRecorders();
  movie->EndRecording(kFinaliseLimit);
}

bool CaptureSession::IsDvSent() const {
  Retained<DeviceInput> input;
  {
    const std::lock_guard lock(mutex_);
    input = lanes_[kPictures].input;
  }
  if (!input) return false;
  const auto streams = input->Device()->StreamDescriptions();
  return std::any_of(streams.begin(), streams.end(), [](const auto& stream) {
    return stream->FormatType() == kDvPalCode || stream->FormatType() == kDvNtscCode;
  });
}

void CaptureSession::TellRecorders() {
  std::vector<std::shared_ptr<MovieRecorder>> recorders;
  const std::lock_guard lock(mutex_);
  for (const auto& [output, recorder] : movieOutputs_) {
    // Inputs that were refused may join at the start.
    const auto has = [](const Lane& lane) {
      return (lane.input || lane.refused) && !lane.hasFailed;
    };
    recorder->Expect(has(lanes_[kPictures]), has(lanes_[kSound]) || IsSoundWithPictures());
    recorders.push_back(recorder);
  }
  tap_->Set(std::move(recorders));
}

bool CaptureSession::IsSoundWithPictures() const {
  const Lane& pictures = lanes_[kPictures];
  const Retained<DeviceInput>& input = pictures.input ? pictures.input : pictures.refused;
  return input && input->Device()->HasMediaType(QTMediaType::QTMediaTypeMuxed);
}

CaptureRun::Outputs CaptureSession::OutputsFor(LaneName lane) const {
  CaptureRun::Outputs outputs;
  const bool isSoundHere = IsSoundWithPictures() == (lane == kPictures);
  if (lane == kPictures) outputs.video = videoOutput_;
  if (isSoundHere) outputs.audio = audioOutput_;
  return outputs;
}

std::shared_ptr<CaptureRun> CaptureSession::NewRun(LaneName name,
                                                   const std::shared_ptr<CaptureRun>& old) {
  const std::lock_guard lock(mutex_);
  Lane& lane = lanes_[name];
  if (!running_ || lane.run != old) return nullptr;
  if (!lane.input && lane.refused && lane.refused->Device()->IsOpen()) {
    lane.input = std::exchange(lane.refused, nullptr);
  }
  lane.run = lane.input ? std::make_shared<CaptureRun>(lane.input->Device(), OutputsFor(name), tap_,
                                                       !movieOutputs_.empty())
                        : nullptr;
  return lane.run;
}

void CaptureSession::StartRunning() {
  {
    const std::lock_guard lock(mutex_);
    if (running_) return;
    running_ = true;  // before the first frame, whose callback may stop the session
    ++starts_;
    for (Lane& lane : lanes_)
      lane.hasFailed = false;
  }
  TellRecorders();
  // The sound first: a recording begins with the first picture.
  Restart({kSound, kPictures});
}

void CaptureSession::Restart(const std::vector<LaneName>& lanes) {
  unsigned start = 0;
  {
    const std::lock_guard lock(mutex_);
    start = starts_;
  }
  if (!CallerTracker::IsInsideAny()) {
    ChangeRuns(lanes, start);
    return;
  }
  // A device is free for its next run only after the callback that this call may have come from.
  RunBounded(milliseconds::zero(), [self = Retained<CaptureSession>(this), lanes, start] {
    self->ChangeRuns(lanes, start);
  });
}

void CaptureSession::ChangeRuns(const std::vector<LaneName>& lanes, unsigned start) {
  for (const LaneName lane : lanes)
    ChangeRun(lane);
  Settle(start);
}

void CaptureSession::ChangeRun(LaneName name) {
  std::shared_ptr<CaptureRun> old;
  {
    const std::lock_guard lock(mutex_);
    old = lanes_[name].run;
  }
  // It stays the session's run until it has ended, so that a stop meanwhile waits for it as well.
  StopRuns({&old, 1});
  const std::shared_ptr<CaptureRun> run = NewRun(name, old);
  if (!run || run->Start()) return;
  {
    const std::lock_guard lock(mutex_);
    Lane& lane = lanes_[name];
    if (lane.run != run) return;  // another thread has stopped the session or started it anew
    lane.run = nullptr;
    lane.hasFailed = true;
  }
  TellRecorders();
}

void CaptureSession::Settle(unsigned start) {
  {
    const std::lock_guard lock(mutex_);
    if (!running_ || starts_ != start) return;
    // Sound beside pictures may be missing.
    if (lanes_[lanes_[kPictures].input ? kPictures : kSound].run) return;
  }
  StopRunning();
}

CaptureSession::Runs CaptureSession::PresentRuns() const {
  const std::lock_guard lock(mutex_);
  return {lanes_[kSound].run, lanes_[kPictures].run};
}

void CaptureSession::StopRuns(std::span<const std::shared_ptr<CaptureRun>> runs) {
  bool isInside = false;
  for (const auto& run : runs) {
    if (!run) continue;
    run->Stop(milliseconds::zero());
    isInside = isInside || run->IsInsideDelegate();
  }
  const auto end = std::chrono::steady_clock::now() + kStopLimit;
  const auto left = [&] {
    const auto time =
        std::chrono::duration_cast<milliseconds>(end - std::chrono::steady_clock::now());
    return std::max(time, milliseconds(1));
  };
  if (isInside) AwaitOtherCallers(left());
  // A run cannot come to its end before the callback that this call was made from, nor before one
  // that waits for that callback.
  for (const auto& run : runs) {
    if (run && !(isInside && run->IsAnybodyInsideDelegate())) run->Stop(left());
  }
}

void CaptureSession::AwaitOtherCallers(milliseconds limit) {
  Retained<VideoOutput> video;
  Retained<AudioOutput> audio;
  {
    const std::lock_guard lock(mutex_);
    video = videoOutput_;
    audio = audioOutput_;
  }
  std::optional<CallerTracker::WaitScope> inVideo, inAudio;
  if (video) inVideo.emplace(video->Callers());
  if (audio) inAudio.emplace(audio->Callers());
  if (video) video->Callers().AwaitOthers(limit);
  if (audio) audio->Callers().AwaitOthers(limit);
}

void CaptureSession::StopRunning() {
  // The session runs until its runs have stopped: a second thread that stops it meanwhile waits
  // too. A run that another thread has put in the place of one that was stopped here has to stop as
  // well.
  for (;;) {
    const Runs runs = PresentRuns();
    StopRuns(runs);
    const std::lock_guard lock(mutex_);
    bool isSame = true;
    for (std::size_t i = 0; i < kLanes; ++i) {
      if (lanes_[i].run == runs[i]) {
        lanes_[i].run = nullptr;
      } else {
        isSame = false;
      }
    }
    if (!isSame) continue;
    running_ = false;
    return;
  }
}

bool CaptureSession::IsRunning() const {
  const std::lock_guard lock(mutex_);
  return running_;
}

}  // namespace gstreamer
