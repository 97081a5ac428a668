// SPDX-License-Identifier: MIT
#include "tools/capturesink.h"

#include <algorithm>
#include <cmath>

CaptureSink::CaptureSink(const CaptureWishes& wishes)
    : wishes_(wishes), ring_(wishes.snapshot, wishes.sheet) {
  if (wishes.keepSound) sound_.reserve(kSoundLimit);
}

void CaptureSink::OnFrame(unsigned char const* pixels, unsigned int pixelFormat,
                          unsigned long width, unsigned long height, unsigned long bytesPerRow,
                          SMPTETime const* timeCode, long data) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the library hands data through as a number.
  auto* const sink = reinterpret_cast<CaptureSink*>(data);
  sink->Add(pixels, {pixelFormat, width, height, bytesPerRow}, timeCode);
}

void CaptureSink::OnSound(unsigned char const* samples, unsigned int formatFlags,
                          unsigned long sampleRate, unsigned long channels,
                          unsigned long bytesPerSample, unsigned long frames, long data) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): as above.
  auto* const sink = reinterpret_cast<CaptureSink*>(data);
  sink->AddSound(samples, {formatFlags, sampleRate, channels, bytesPerSample}, frames);
}

void CaptureSink::Add(const unsigned char* pixels, const FrameFormat& format,
                      const SMPTETime* timeCode) {
  KeptFrame* const copy = Note(format, timeCode);
  if (!copy) return;
  copy->pixels.assign(pixels, pixels + FrameBytes(format));
  const std::lock_guard lock(mutex_);
  ring_.Filled();
  changed_.notify_one();
}

/// Counts the frame; the copy to fill when a picture needs it.
KeptFrame* CaptureSink::Note(const FrameFormat& format, const SMPTETime* timeCode) {
  const auto now = CaptureClock::now();
  const std::lock_guard lock(mutex_);
  if (complete_ || interrupted_) return nullptr;
  const double seconds = Seconds(now);
  const double share = Share(seconds);
  if (wishes_.goal.frames == 0 && share >= 1) {
    Complete();
    return nullptr;
  }
  log_.Add(format, timeCode, now);
  if (log_.Frames() == wishes_.goal.frames) Complete();
  KeptFrame* const copy = ring_.Claim(share);
  if (!copy) return nullptr;
  copy->format = format;
  copy->timeCode = timeCode ? std::optional(*timeCode) : std::nullopt;
  copy->seconds = seconds;
  return copy;
}

void CaptureSink::AddSound(const unsigned char* samples, const AudioFormat& format,
                           unsigned long frames) {
  const auto now = CaptureClock::now();
  const std::lock_guard lock(mutex_);
  if (complete_ || interrupted_) return;
  // Where there are pictures, sound and pictures are to begin together.
  if (wishes_.pictures && log_.Frames() == 0) return;
  if (soundLog_.Frames() > 0 && format != soundLog_.Format()) return soundLog_.AddLost(frames);
  const unsigned long left = wishes_.pictures ? frames : GoalFrames(format) - soundLog_.Frames();
  const unsigned long wanted = std::min(frames, left);
  soundLog_.Add(samples, format, wanted, now);
  const std::size_t bytes = wanted * format.BytesPerFrame();
  if (wishes_.keepSound && sound_.size() + bytes <= kSoundLimit) {
    sound_.insert(sound_.end(), samples, samples + bytes);
  } else if (wishes_.keepSound) {
    soundLog_.AddLost(wanted);
  }
  if (!wishes_.pictures && wanted == left) Complete();
}

/// The sample frames of a capture without pictures.
unsigned long CaptureSink::GoalFrames(const AudioFormat& format) const {
  const double frames = std::round(wishes_.goal.seconds * static_cast<double>(format.sampleRate));
  return static_cast<unsigned long>(std::max(frames, 1.0));
}

void CaptureSink::Complete() {
  complete_ = true;
  changed_.notify_one();
}

double CaptureSink::Seconds(CaptureClock::time_point now) const {
  if (!wishes_.pictures) return soundLog_.Seconds();
  return log_.Frames() == 0 ? 0 : SecondsBetween(log_.First(), now);
}

double CaptureSink::Share(double seconds) const {
  const auto [frames, goal] = wishes_.goal;
  const double share = frames == 0
                           ? seconds / goal
                           : static_cast<double>(log_.Frames()) / static_cast<double>(frames);
  return std::min(share, 1.0);
}

void CaptureSink::Start() {
  const std::lock_guard lock(mutex_);
  started_ = CaptureClock::now();
}

void CaptureSink::Interrupt() {
  const std::lock_guard lock(mutex_);
  interrupted_ = true;
  changed_.notify_one();
}

void CaptureSink::Wait(CaptureClock::time_point until) {
  std::unique_lock lock(mutex_);
  changed_.wait_until(lock, until,
                      [&] { return complete_ || interrupted_ || ring_.Take() != nullptr; });
}

CaptureState CaptureSink::State() const {
  const std::lock_guard lock(mutex_);
  const auto now = CaptureClock::now();
  CaptureState state{};
  state.frames = log_.Frames();
  state.timeCode = log_.LatestTimeCode();
  state.seconds = Seconds(now);
  state.share = Share(state.seconds);
  const double sinceStart = SecondsBetween(started_, now);
  if (wishes_.sound) {
    state.sinceLatestSound =
        soundLog_.Frames() == 0 ? sinceStart : SecondsBetween(soundLog_.Latest(), now);
    state.levels = soundLog_.MeterLevels();
  }
  state.sinceLatest = !wishes_.pictures    ? state.sinceLatestSound
                      : log_.Frames() == 0 ? sinceStart
                                           : SecondsBetween(log_.Latest(), now);
  state.complete = complete_ || (wishes_.pictures && state.share >= 1);
  state.interrupted = interrupted_;
  return state;
}

FrameSummary CaptureSink::Frames() const {
  const std::lock_guard lock(mutex_);
  return log_.Summary();
}

SoundSummary CaptureSink::Sound() const {
  const std::lock_guard lock(mutex_);
  return soundLog_.Summary();
}

const KeptFrame* CaptureSink::TakeCopy() {
  const std::lock_guard lock(mutex_);
  return ring_.Take();
}

void CaptureSink::GiveCopyBack() {
  const std::lock_guard lock(mutex_);
  ring_.GiveBack();
}

void CaptureSink::TakeSound(std::vector<std::uint8_t>& samples) {
  samples.clear();
  samples.reserve(kSoundLimit);
  const std::lock_guard lock(mutex_);
  samples.swap(sound_);
}
