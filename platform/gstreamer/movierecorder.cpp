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
constexpr GstClockTime kChangeFileAfter = gstreamer::MovieFile::kLongestFile * 9 / 10;

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
  const MovieContainer* container = MovieContainerFor(path);
  if (!container || !CanStore(*container)) return nullptr;
  auto file = ReservedFile::Reserve(path, false);
  if (!file) return nullptr;
  return std::make_shared<MovieRecorder>(std::move(*file), *container);
}

MovieRecorder::~MovieRecorder() {
  Finish(std::chrono::milliseconds::zero());
}

void MovieRecorder::Push(GstBuffer* buffer, GstCaps* caps, GstClockTime baseTime) {
  const GstClockTime stamp = GST_BUFFER_PTS(buffer);
  if (!GST_CLOCK_TIME_IS_VALID(stamp)) return;
  const GstClockTime time = baseTime + stamp;

  const std::lock_guard lock(mutex_);
  if (finished_) return;
  if (file_ && (time - begin_ >= kChangeFileAfter || !gst_caps_is_equal(caps, caps_.get()))) {
    EndFile();
  }
  if (!file_ && !BeginFile(caps, time)) return;
  if (file_->HasFailed()) {
    // A full disk, say. What was written plays; the pictures that wait go back to the camera.
    finished_ = true;
    EndFile();
    return;
  }
  file_->Push(buffer,
              static_cast<GstClockTimeDiff>(baseTime) - static_cast<GstClockTimeDiff>(begin_));
}

bool MovieRecorder::BeginFile(GstCaps* caps, GstClockTime time) {
  if (files_++ > 0 && !ReserveNext()) {
    finished_ = true;
    return false;
  }
  file_ = std::make_shared<MovieFile>(reserved_.Path(), container_);
  caps_.reset(gst_caps_ref(caps));
  begin_ = time;
  if (file_->Begin(caps)) return true;
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
  const std::lock_guard lock(mutex_);
  path_ = path;
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
