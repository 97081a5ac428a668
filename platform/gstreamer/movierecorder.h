// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_MOVIERECORDER_H
#define ZORVEX_PLATFORM_GSTREAMER_MOVIERECORDER_H

#include <gst/gst.h>

#include <chrono>
#include <deque>
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

/// Records the streams of a session into a movie file, and into further ones beside it
/// ("name 2.mov", ...) when the pictures change their format, come back after a long time without
/// any, or a file comes to its longest duration.
///
/// Fed on the streaming threads, ended by any other.
class MovieRecorder {
 public:
  enum class Track { Pictures, Sound };

  /// Makes sure that the file can be written and that its container can; null otherwise.
  static std::shared_ptr<MovieRecorder> Create(const std::string& path);

  MovieRecorder(ReservedFile file, const MovieContainer& container)
      : path_(file.Path()), container_(container), reserved_(std::move(file)) {}
  MovieRecorder(const MovieRecorder&) = delete;
  MovieRecorder& operator=(const MovieRecorder&) = delete;
  ~MovieRecorder();

  const MovieContainer& Container() const { return container_; }

  /// Says which tracks the next file is to have. It begins with the first picture where pictures
  /// are expected, else with the first sound.
  void Expect(bool pictures, bool sound);

  /// Takes one buffer: a picture by reference, sound by copy. `time` is when it was captured, by
  /// the clock that all runs of a session share.
  void Push(Track track, GstBuffer* buffer, GstCaps* caps, GstClockTime time);

  /// Finalises the file. Waits for that at most for `limit`; it is completed in the background
  /// otherwise. What comes later is dropped.
  void Finish(std::chrono::milliseconds limit);

 private:
  /// Sound that came before its file began.
  struct EarlySound {
    GstPointer<GstBuffer> buffer;
    GstPointer<GstCaps> caps;
    GstClockTime time;
  };

  void PushPicture(GstBuffer* buffer, GstCaps* caps, GstClockTime time);
  void PushSound(GstBuffer* buffer, GstCaps* caps, GstClockTime time);
  bool IsUsable();
  bool BeginFile(GstCaps* pictures, GstClockTime time);
  void EndFile();
  bool ReserveNext();
  void KeepEarlySound(GstBuffer* buffer, GstCaps* caps, GstClockTime time);
  GstClockTimeDiff InMovie(GstClockTime time) const;

  const std::string path_;
  const MovieContainer& container_;
  std::mutex mutex_;  ///< guards what follows
  bool expectsPictures_ = true;
  bool expectsSound_ = false;
  ReservedFile reserved_;  ///< the present file
  std::shared_ptr<MovieFile> file_;
  GstPointer<GstCaps> caps_;  ///< of the pictures
  GstClockTime begin_ = 0;    ///< of the file, by the clock
  std::deque<EarlySound> earlySound_;
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
