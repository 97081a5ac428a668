// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_MOVIERECORDER_H
#define ZORVEX_PLATFORM_GSTREAMER_MOVIERECORDER_H

#include <gst/gst.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "platform/gstreamer/gstpointer.h"
#include "platform/gstreamer/moviefile.h"
#include "platform/qtcaptureoutput.h"
#include "platform/uniquefd.h"

namespace gstreamer {

/// A file that is to become a movie, held by a lock: no other recording of this process or another
/// one takes it meanwhile. Special files cannot be movies, for they cannot be rewound.
class ReservedFile {
 public:
  /// Creates or opens the file; with `onlyNew` only creates it, and errno tells why it failed.
  static std::optional<ReservedFile> Reserve(const std::string& path, bool onlyNew);

  const std::string& Path() const { return path_; }
  /// Ends the lock; a file that was made for it and is empty goes.
  void GiveUp();

 private:
  std::string path_;
  UniqueFd descriptor_;
  bool isNew_ = false;
};

/// Records a stream into a movie file, and into further ones beside it ("name 2.mov", ...) when the
/// stream changes its format or a file comes to its longest duration.
///
/// Fed on the streaming thread, ended by any other.
class MovieRecorder {
 public:
  /// Makes sure that the file can be written and that its container can; null otherwise.
  static std::shared_ptr<MovieRecorder> Create(const std::string& path);

  MovieRecorder(ReservedFile file, const MovieContainer& container)
      : path_(file.Path()), container_(container), reserved_(std::move(file)) {}
  MovieRecorder(const MovieRecorder&) = delete;
  MovieRecorder& operator=(const MovieRecorder&) = delete;
  ~MovieRecorder();

  /// Takes one picture by reference. `baseTime` is the time of the clock at which the running time
  /// of its pipeline began: pictures of several runs line up in one movie.
  void Push(GstBuffer* buffer, GstCaps* caps, GstClockTime baseTime);

  /// Finalises the file. Waits for that at most for `limit`; it is completed in the background
  /// otherwise. Later pictures are dropped.
  void Finish(std::chrono::milliseconds limit);

 private:
  bool BeginFile(GstCaps* caps, GstClockTime time);
  void EndFile();
  bool ReserveNext();

  const std::string path_;
  const MovieContainer& container_;
  std::mutex mutex_;       ///< guards what follows
  ReservedFile reserved_;  ///< the present file
  std::shared_ptr<MovieFile> file_;
  GstPointer<GstCaps> caps_;
  GstClockTime begin_ = 0;  ///< of the file, by the clock
  int files_ = 0;
  bool finished_ = false;
};

/// The capture layer's handle on a recorder, which exists while the output is in a session.
class MovieFileOutput final : public QTCaptureMovieFileOutput {
 public:
  void RecordToOutputFileURL(const char* path) override;
  /// Called by the session that the output joins or leaves.
  std::shared_ptr<MovieRecorder> BeginRecording();
  void EndRecording(std::chrono::milliseconds limit);

 private:
  std::mutex mutex_;
  std::string path_;
  std::shared_ptr<MovieRecorder> recorder_;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_MOVIERECORDER_H
