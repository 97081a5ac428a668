// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_CAPTURESINK_H
#define ZORVEX_TOOLS_CAPTURESINK_H

#include <zorvex/zorvex.h>

#include <condition_variable>
#include <mutex>

#include "tools/framelog.h"
#include "tools/framering.h"
#include "tools/soundlog.h"

/// When a capture is complete: after `frames` frames, or when 0 after `seconds` from its first one;
/// where no pictures come, after `seconds` of sound.
struct CaptureGoal {
  unsigned long frames = 0;
  double seconds = 0;
};

/// What a capture is to give.
struct CaptureWishes {
  CaptureGoal goal;
  bool pictures = true;    ///< frames come
  bool sound = false;      ///< sound comes
  bool snapshot = false;   ///< frames are kept for it
  bool sheet = false;      ///< frames are kept for it
  bool keepSound = false;  ///< its samples are kept for TakeSound
};

/// How far a capture is, for one look at it.
struct CaptureState {
  unsigned long frames;
  std::optional<SMPTETime> timeCode;  ///< of the latest frame
  double seconds;                     ///< since the first frame, or of sound; 0 before it
  double sinceLatest;  ///< seconds since the latest frame or, without pictures, sound, or since
                       ///< the start
  double sinceLatestSound;    ///< the same for sound; 0 where none is to come
  double share;               ///< of the goal, 0 to 1
  std::vector<Level> levels;  ///< of the sound, for each channel; empty before it
  bool complete;
  bool interrupted;
};

/// Where the frames and the sound of a capture arrive. The callbacks only note what comes, and copy
/// the sound and the few frames that pictures are made of; everything else is done by the thread
/// that waits here.
class CaptureSink {
 public:
  /// So much sound waits for TakeSound at most; more is counted as lost. More than five seconds of
  /// the largest format.
  static constexpr std::size_t kSoundLimit = 8ul << 20;

  explicit CaptureSink(const CaptureWishes& wishes);
  CaptureSink(const CaptureSink&) = delete;
  CaptureSink& operator=(const CaptureSink&) = delete;

  /// For ZRVXDeviceStartCapture, as is OnSound; the sink must outlive the capture.
  static void OnFrame(unsigned char const* pixels, unsigned int pixelFormat, unsigned long width,
                      unsigned long height, unsigned long bytesPerRow, SMPTETime const* timeCode,
                      long data);
  static void OnSound(unsigned char const* samples, unsigned int formatFlags,
                      unsigned long sampleRate, unsigned long channels,
                      unsigned long bytesPerSample, unsigned long frames, long data);
  long CallBackData() { return reinterpret_cast<long>(this); }
  const CaptureWishes& Wishes() const { return wishes_; }

  /// Begins to wait for the first frame.
  void Start();
  /// Ends the capture from another thread; what comes later is not counted.
  void Interrupt();

  /// Waits until the capture is complete or interrupted, a copy of a frame is there, or `until`.
  void Wait(CaptureClock::time_point until);
  CaptureState State() const;
  FrameSummary Frames() const;
  SoundSummary Sound() const;

  /// The next copy for pictures, or null; valid until it is given back.
  const KeptFrame* TakeCopy();
  void GiveCopyBack();

  /// Replaces `samples` by the sound that came since the last call, whole frames. To be called
  /// again with the same vector, whose memory is used again.
  void TakeSound(std::vector<std::uint8_t>& samples);

 private:
  void Add(const unsigned char* pixels, const FrameFormat& format, const SMPTETime* timeCode);
  KeptFrame* Note(const FrameFormat& format, const SMPTETime* timeCode);
  void AddSound(const unsigned char* samples, const AudioFormat& format, unsigned long frames);
  unsigned long GoalFrames(const AudioFormat& format) const;
  void Complete();
  double Seconds(CaptureClock::time_point now) const;
  double Share(double seconds) const;

  const CaptureWishes wishes_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  FrameLog log_;
  FrameRing ring_;
  SoundLog soundLog_;
  std::vector<std::uint8_t> sound_;  ///< waits for TakeSound
  CaptureClock::time_point started_ = CaptureClock::now();
  bool complete_ = false;
  bool interrupted_ = false;
};

#endif  // ZORVEX_TOOLS_CAPTURESINK_H
