// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_FRAMESINK_H
#define ZORVEX_TOOLS_FRAMESINK_H

#include <zorvex/zorvex.h>

#include <condition_variable>
#include <mutex>

#include "tools/framelog.h"
#include "tools/framering.h"

/// When a capture is complete: after `frames` frames, or when 0 after `seconds` from its first one.
struct CaptureGoal {
  unsigned long frames;
  double seconds;
};

/// How far a capture is, for one look at it.
struct CaptureState {
  unsigned long frames;
  std::optional<SMPTETime> timeCode;  ///< of the latest frame
  double seconds;                     ///< since the first frame; 0 before it
  double sinceLatest;                 ///< seconds since the latest frame, or since the start
  double share;                       ///< of the goal, 0 to 1
  bool complete;
  bool interrupted;
};

/// Where the frames of a capture arrive. The callback only notes each frame, and copies the few
/// that pictures are made of; everything else is done by the thread that waits here.
class FrameSink {
 public:
  FrameSink(const CaptureGoal& goal, bool snapshot, bool sheet);
  FrameSink(const FrameSink&) = delete;
  FrameSink& operator=(const FrameSink&) = delete;

  /// For ZRVXDeviceStartCapture; the sink must outlive the capture.
  static void OnFrame(unsigned char const* pixels, unsigned int pixelFormat, unsigned long width,
                      unsigned long height, unsigned long bytesPerRow, SMPTETime const* timeCode,
                      long data);
  long CallBackData() { return reinterpret_cast<long>(this); }

  /// Begins to wait for the first frame.
  void Start();
  /// Ends the capture from another thread; frames that come later are not counted.
  void Interrupt();

  /// Waits until the capture is complete or interrupted, a copy of a frame is there, or `until`.
  void Wait(CaptureClock::time_point until);
  CaptureState State() const;
  FrameSummary Summary() const;

  /// The next copy for pictures, or null; valid until it is given back.
  const KeptFrame* TakeCopy();
  void GiveCopyBack();

 private:
  void Add(const unsigned char* pixels, const FrameFormat& format, const SMPTETime* timeCode);
  KeptFrame* Note(const FrameFormat& format, const SMPTETime* timeCode);
  double Seconds(CaptureClock::time_point now) const;
  double Share(double seconds) const;

  const CaptureGoal goal_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  FrameLog log_;
  FrameRing ring_;
  CaptureClock::time_point started_ = CaptureClock::now();
  bool complete_ = false;
  bool interrupted_ = false;
};

#endif  // ZORVEX_TOOLS_FRAMESINK_H
