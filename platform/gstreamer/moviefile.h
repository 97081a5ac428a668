// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_MOVIEFILE_H
#define ZORVEX_PLATFORM_GSTREAMER_MOVIEFILE_H

#include <gst/gst.h>

#include <cstddef>
#include <memory>
#include <string>

#include "platform/gstreamer/pipeline.h"

namespace gstreamer {

/// How a movie is stored, by the extension of its name.
struct MovieContainer {
  const char* extension;
  const char* muxer;        ///< GStreamer's element
  bool storesJpeg;          ///< else pictures are stored as H.264
  bool reservesIndexSpace;  ///< the index lives at the head of the file, in space kept for it
};

/// The container for a path: that of its extension in any case of letters, QuickTime for none or
/// an unknown one. Null for .dv, which holds the stream of a DV deck and nothing else.
const MovieContainer* MovieContainerFor(const std::string& path);

/// Whether this system has all that a container needs. Loads it too, which takes a moment that the
/// first picture of a movie should not wait for.
bool CanStore(const MovieContainer& container);

/// How many raw pictures of a size may wait to be compressed. They are the camera's own buffers:
/// fewer of the largest ones.
unsigned RawPicturesWaiting(std::size_t bytes);

/// One movie file being written, in a pipeline of its own: what goes wrong with the file, a full
/// disk say, stays here, and the capture that feeds it goes on.
///
///     application source -> [encoder] -> queue -> muxer -> file
///
/// A device's own compressed pictures are stored as they come; raw ones are compressed picture by
/// picture, so that editors can cut anywhere. The index is rewritten every second: a process that
/// is killed leaves a file that plays up to its last second. The space kept for the index is
/// enough for kLongestFile.
///
/// Begin, Push and Finish are called by one thread at a time.
class MovieFile {
 public:
  static constexpr GstClockTime kLongestFile = GstClockTime{3600} * GST_SECOND;

  MovieFile(std::string path, const MovieContainer& container);
  MovieFile(const MovieFile&) = delete;
  MovieFile& operator=(const MovieFile&) = delete;
  ~MovieFile();  ///< stops; what was written stays

  /// Gets ready for a stream of these caps. False when it cannot be stored.
  bool Begin(GstCaps* caps);
  /// Adds one picture, by reference. Its time stamp plus `offset` is its time in the movie. One
  /// that comes while too many wait to be stored is left out.
  void Push(GstBuffer* buffer, GstClockTimeDiff offset);
  /// Ends and closes the file; waits for the disk.
  void Finish();

  bool HasFailed() const { return pipeline_.Current().failed; }
  const std::string& Path() const { return path_; }

 private:
  GstElement* MakeEncoder();
  GstElement* MakeMuxer(const GstStructure& format);

  const std::string path_;
  const MovieContainer& container_;
  Pipeline pipeline_;
  GstElement* source_ = nullptr;  ///< owned by the pipeline
  bool isRaw_ = false;
  guint64 mostWaiting_ = 0;  ///< pictures
  bool hasOffset_ = false;
  GstClockTimeDiff offset_ = 0;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_MOVIEFILE_H
