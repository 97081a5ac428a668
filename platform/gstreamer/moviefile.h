// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_MOVIEFILE_H
#define ZORVEX_PLATFORM_GSTREAMER_MOVIEFILE_H

#include <gst/gst.h>

#include <cstddef>
#include <optional>
#include <string>

#include "platform/gstreamer/moviesound.h"
#include "platform/gstreamer/pipeline.h"

namespace gstreamer {

/// How a movie is stored, by the extension of its name.
struct MovieContainer {
  const char* extension;
  const char* muxer;        ///< GStreamer's element; null: a DV stream as a deck sends it
  bool isEditable;          ///< stores JPEG, DV and PCM; else H.264 and AAC
  bool reservesIndexSpace;  ///< the index lives at the head of the file, in space kept for it
  int mostSoundRate;        ///< in Hz

  bool IsDvStream() const { return muxer == nullptr; }
};

/// The container for a path: that of its extension in any case of letters, QuickTime for none or
/// an unknown one.
const MovieContainer& MovieContainerFor(const std::string& path);

/// Whether this system has all that a container needs. Loads it too, which takes a moment that the
/// first picture of a movie should not wait for.
bool CanStore(const MovieContainer& container);

/// How many raw pictures of a size may wait to be compressed. They are the camera's own buffers:
/// fewer of the largest ones.
unsigned RawPicturesWaiting(std::size_t bytes);

/// One movie file being written, in a pipeline of its own: what goes wrong with the file, a full
/// disk say, stays here, and the capture that feeds it goes on.
///
///     application source -> [decoder] -> [encoder] -> queue -> muxer -> file
///                                      sound track -----------'
///
/// A device's own compressed pictures are stored as they come; raw ones are compressed picture by
/// picture, so that editors can cut anywhere. The index is rewritten every second: a process that
/// is killed leaves a file that plays up to its last second. The space kept for the index is
/// enough for kLongestFile.
///
/// All times are those in the movie. Its functions are called by one thread at a time.
class MovieFile {
 public:
  static constexpr GstClockTime kLongestFile = GstClockTime{3600} * GST_SECOND;

  MovieFile(std::string path, const MovieContainer& container);
  MovieFile(const MovieFile&) = delete;
  MovieFile& operator=(const MovieFile&) = delete;
  ~MovieFile();  ///< stops; what was written stays

  /// Gets ready for pictures of these caps, null for none, and for sound. False when they cannot be
  /// stored.
  bool Begin(GstCaps* pictures, bool hasSound);
  /// Adds one picture, by reference. One that comes while too many wait to be stored is left out.
  void PushPicture(GstBuffer* buffer, GstClockTimeDiff time);
  /// Adds sound, by copy. When no picture has come for a long time, the movie goes on with sound
  /// alone.
  void PushSound(GstBuffer* buffer, GstCaps* caps, GstClockTimeDiff time);
  /// Ends and closes the file; waits for the disk.
  void Finish();

  /// Whether pictures are no longer taken, because none came for a long time.
  bool HavePicturesEnded() const { return havePicturesEnded_; }
  bool HasFailed() const { return pipeline_.Current().failed; }
  const std::string& Path() const { return path_; }

 private:
  bool BuildPictures(GstCaps* caps);
  bool AppendPictureCoding(Chain& chain, const GstStructure& format);
  GstElement* MakeMuxer(const GstStructure* format);

  const std::string path_;
  const MovieContainer& container_;
  Pipeline pipeline_;
  GstElement* source_ = nullptr;  ///< of the pictures; owned by the pipeline, as the next
  GstElement* muxer_ = nullptr;
  std::optional<MovieSound> sound_;
  bool isRaw_ = false;
  bool havePicturesEnded_ = false;
  guint64 mostWaiting_ = 0;                 ///< pictures
  std::optional<GstClockTimeDiff> offset_;  ///< from a picture's stamp to its time
  GstClockTimeDiff latestPicture_ = 0;
  GstClockTimeDiff soundWithoutPicture_ = 0;  ///< since the latest one; a pause of both is no sound
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_MOVIEFILE_H
