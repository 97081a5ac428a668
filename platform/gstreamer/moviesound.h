// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_MOVIESOUND_H
#define ZORVEX_PLATFORM_GSTREAMER_MOVIESOUND_H

#include <gst/app/gstappsrc.h>
#include <gst/audio/audio.h>

#include "platform/gstreamer/pipeline.h"

namespace gstreamer {

/// How the sound of a movie is stored.
enum class SoundStorage {
  Pcm,  ///< 16-bit samples, or 24-bit ones of a source that has more than 16
  Aac,
};

/// The elements that storing sound takes, null at the end.
const char* const* SoundFactories(SoundStorage storage);

/// The sound track of one movie file.
///
///     application source -> converter -> one format for the whole file -> [encoder] -> queue ->
///
/// A movie plays its sound at its own pace, whatever the stamps say. So the track is made one
/// stretch without gaps and overlaps, which stays in step with the clock of the pictures: where the
/// device lost sound, or where its clock falls behind, silence is put in, and what comes twice is
/// left out. Used by one thread at a time.
class MovieSound {
 public:
  /// `mostRate` is the highest rate that the container can hold, in Hz.
  MovieSound(SoundStorage storage, int mostRate) : storage_(storage), mostRate_(mostRate) {}

  /// Appends the branch to the muxer. False when it cannot be had.
  bool Build(Pipeline& pipeline, GstElement* muxer);

  /// Adds interleaved PCM of these caps and at most 16 channels, by copy; `time` is that of its
  /// first sample in the movie, and what lies before 0 is left out. Sound that comes while too much
  /// waits is replaced by silence.
  /// Gives how long the sound lasts.
  GstClockTimeDiff Push(GstBuffer* buffer, GstCaps* caps, GstClockTimeDiff time);
  /// Puts in silence where there is no sound up to a time in the movie.
  void FillUpTo(GstClockTimeDiff time);
  /// No more sound follows.
  void End();

 private:
  void SetFormat(const GstAudioInfo& info);
  GstClockTimeDiff Position() const;
  GstClockTimeDiff TimeOf(guint64 frames) const;
  guint64 FramesIn(GstClockTimeDiff time) const;
  void Append(GstBuffer* sound, guint64 frames);
  void AppendSilence(guint64 frames);
  bool IsFull() const;

  const SoundStorage storage_;
  const int mostRate_;
  GstAppSrc* source_ = nullptr;         ///< owned by the pipeline, as the next
  GstElement* storedFormat_ = nullptr;  ///< a caps filter
  bool hasFormat_ = false;
  bool isInStep_ = false;       ///< what comes next follows what is there
  GstAudioInfo info_{};         ///< of what arrives
  GstClockTimeDiff begin_ = 0;  ///< of the sound in the present format
  guint64 frames_ = 0;          ///< in the present format
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_MOVIESOUND_H
