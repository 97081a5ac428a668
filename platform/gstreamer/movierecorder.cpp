// SPDX-License-Identifier: MIT
#include "platform/gstreamer/movierecorder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>

#include "platform/boundedcall.h"

namespace {

/// Leaves time to change to the next file before the index space of this one is used up.
constexpr GstClockTimeDiff kChangeFileAfter = gstreamer::MovieFile::kLongestFile * 9 / 10;

/// Sound is kept so long for a file that is about to begin.
constexpr GstClockTime kEarlySoundKept = 1 * GST_SECOND;

/// A recording that got no picture leaves no file behind, unless the file was there before.
void RemoveEmpty(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0) {
    unlink(path.c_str());
  }
}

}  // namespace

namespace gstreamer {

std::optional<ReservedFile> ReservedFile::Reserve(const std::string& path, bool onlyNew) {
  // Not blocking, for a pipe that nobody reads.
  constexpr int kFlags = O_WRONLY | O_NONBLOCK | O_CLOEXEC;
  ReservedFile file;
  file.path_ = path;
  file.descriptor_ = UniqueFd(open(path.c_str(), kFlags | O_CREAT | O_EXCL, 0666));
  file.isNew_ = static_cast<bool>(file.descriptor_);
  if (!file.isNew_ && !onlyNew && errno == EEXIST) {
    file.descriptor_ = UniqueFd(open(path.c_str(), kFlags));
  }
  struct stat status;
  if (!file.descriptor_ || fstat(file.descriptor_.Get(), &status) != 0 ||
      !S_ISREG(status.st_mode) || flock(file.descriptor_.Get(), LOCK_EX | LOCK_NB) != 0) {
    return std::nullopt;
  }
  return file;
}

void ReservedFile::GiveUp() {
  if (isNew_) RemoveEmpty(path_);
  descriptor_ = UniqueFd();
}

std::shared_ptr<MovieRecorder> MovieRecorder::Create(const std::string& path) {
  const MovieContainer& container = MovieContainerFor(path);
  if (!CanStore(container)) return nullptr;
  auto file = ReservedFile::Reserve(path, false);
  if (!file) return nullptr;
  return std::make_shared<MovieRecorder>(std::move(*file), container);
}

MovieRecorder::~MovieRecorder() {
  Finish(std::chrono::milliseconds::zero());
}

void MovieRecorder::Expect(bool pictures, bool sound) {
  const std::lock_guard lock(mutex_);
  expectsPictures_ = pictures;
  expectsSound_ = sound;
}

void MovieRecorder::Push(Track track, GstBuffer* buffer, GstCaps* caps, GstClockTime time) {
  const std::lock_guard lock(mutex_);
  if (finished_) return;
  if (track == Track::Pictures) {
    PushPicture(buffer, caps, time);
  } else {
    PushSound(buffer, caps, time);
  }
}

GstClockTimeDiff MovieRecorder::InMovie(GstClockTime time) const {
  return static_cast<GstClockTimeDiff>(time) - static_cast<GstClockTimeDiff>(begin_);
}

void MovieRecorder::PushPicture(GstBuffer* buffer, GstCaps* caps, GstClockTime time) {
  if (file_ && (InMovie(time) >= kChangeFileAfter || file_->HavePicturesEnded() || !caps_ ||
                !gst_caps_is_equal(caps, caps_.get()))) {
    EndFile();
  }
  if (!file_ && !BeginFile(caps, time)) return;
  if (IsUsable()) file_->PushPicture(buffer, InMovie(time));
}

void MovieRecorder::PushSound(GstBuffer* buffer, GstCaps* caps, GstClockTime time) {
  const bool isAlone = !file_ ? !expectsPictures_ : !caps_ || file_->HavePicturesEnded();
  if (isAlone && file_ && InMovie(time) >= kChangeFileAfter) EndFile();
  if (!file_ && (!isAlone || !BeginFile(nullptr, time))) {
    if (!finished_) KeepEarlySound(buffer, caps, time);
    return;
  }
  if (IsUsable()) file_->PushSound(buffer, caps, InMovie(time));
}

void MovieRecorder::KeepEarlySound(GstBuffer* buffer, GstCaps* caps, GstClockTime time) {
  if (!expectsSound_) return;
  while (!earlySound_.empty() && earlySound_.front().time + kEarlySoundKept < time)
    earlySound_.pop_front();
  earlySound_.push_back({GstPointer<GstBuffer>(gst_buffer_copy_deep(buffer)),
                         GstPointer<GstCaps>(gst_caps_ref(caps)), time});
}

/// A full disk, say, ends the recording. What was written plays; the pictures that wait go back to
/// the camera.
bool MovieRecorder::IsUsable() {
  if (!file_->HasFailed()) return true;
  finished_ = true;
  EndFile();
  return false;
}

bool MovieRecorder::BeginFile(GstCaps* pictures, GstClockTime time) {
  if (files_++ > 0 && !ReserveNext()) {
    finished_ = true;
    return false;
  }
  file_ = std::make_shared<MovieFile>(reserved_.Path(), container_);
  caps_.reset(pictures ? gst_caps_ref(pictures) : nullptr);
  begin_ = time;
  const std::deque<EarlySound> early = std::exchange(earlySound_, {});
  if (file_->Begin(pictures, expectsSound_)) {
    for (const EarlySound& sound : early)
      file_->PushSound(sound.buffer.get(), sound.caps.get(), InMovie(sound.time));
    return true;
  }
  file_.reset();
  reserved_.GiveUp();
  finished_ = true;  // nothing of this stream can be stored
  return false;
}

void MovieRecorder::EndFile() {
  RunBounded(std::chrono::milliseconds::zero(), [file = std::move(file_)] { file->Finish(); });
  file_.reset();
}

bool MovieRecorder::ReserveNext() {
  const std::filesystem::path path(path_);
  constexpr int kMostFiles = 1000;
  for (int number = files_; number < kMostFiles; ++number) {
    std::filesystem::path next = path;
    next.replace_filename(path.stem().string() + " " + std::to_string(number) +
                          path.extension().string());
    if (auto file = ReservedFile::Reserve(next.string(), true)) {
      reserved_ = std::move(*file);
      return true;
    }
    if (errno != EEXIST) return false;
  }
  return false;
}

void MovieRecorder::Finish(std::chrono::milliseconds limit) {
  std::shared_ptr<MovieFile> file;
  {
    const std::lock_guard lock(mutex_);
    if (!finished_ && files_ == 0) reserved_.GiveUp();
    finished_ = true;
    file = std::exchange(file_, nullptr);
  }
  if (!file) return;
  const auto finish = [file] { file->Finish(); };
  if (RunBounded(limit, finish) == BoundedCall::NotBegun) finish();
}

void MovieFileOutput::RecordToOutputFileURL(const char* path) {
  // A URL names one place, wherever the process goes later.
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  const std::lock_guard lock(mutex_);
  path_ = error ? path : absolute.string();
}

std::shared_ptr<MovieRecorder> MovieFileOutput::BeginRecording() {
  const std::lock_guard lock(mutex_);
  if (!recorder_) recorder_ = MovieRecorder::Create(path_);
  return recorder_;
}

void MovieFileOutput::EndRecording(std::chrono::milliseconds limit) {
  std::shared_ptr<MovieRecorder> recorder;
  {
    const std::lock_guard lock(mutex_);
    recorder = std::exchange(recorder_, nullptr);
  }
  if (recorder) recorder->Finish(limit);
}

}  // namespace gstreamer
