// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_SOUNDLOG_H
#define ZORVEX_TOOLS_SOUNDLOG_H

#include <array>
#include <limits>
#include <vector>

#include "tools/audioformat.h"
#include "tools/captureclock.h"

/// How loud a channel is, in dBFS: 0 is the largest sample that the format has, so the RMS of a
/// sine at full scale is -3. Silence is minus infinity.
struct Level {
  double peak = -std::numeric_limits<double>::infinity();
  double rms = -std::numeric_limits<double>::infinity();
};

struct SoundSummary {
  AudioFormat format;         ///< of the first buffer; nothing without one
  unsigned long frames = 0;   ///< sample frames
  double seconds = 0;         ///< that so many frames last
  std::vector<Level> levels;  ///< of each channel over all frames; of the first eight at most
  unsigned long lost = 0;     ///< sample frames that are missing
};

/// What a report needs to know of the sound of one capture. Allocates nothing per buffer.
class SoundLog {
 public:
  /// Takes in the next buffer, which has one format with the first one.
  void Add(const unsigned char* samples, const AudioFormat& format, unsigned long frames,
           CaptureClock::time_point now);
  /// Sample frames that came and could not be kept.
  void AddLost(unsigned long frames) { lost_ += frames; }

  const AudioFormat& Format() const { return format_; }
  unsigned long Frames() const { return frames_; }
  double Seconds() const;
  /// When the latest buffer came; meaningless without one.
  CaptureClock::time_point Latest() const { return latest_; }
  /// What a meter shows: the levels of the latest 0.3 s, or of what came until now.
  std::vector<Level> MeterLevels() const;

  /// Everything so far. Lost frames are those of AddLost, and those that are missing to a steady
  /// rate, by the times of arrival: a gap that is not made up for by an early buffer later on.
  SoundSummary Summary() const;

 private:
  struct Loudness {
    double peak = 0;
    double squares = 0;
  };
  /// The sums of some frames.
  struct Window {
    std::array<Loudness, kMostChannels> channels{};
    unsigned long frames = 0;
  };

  template <class Read>
  void Measure(const unsigned char* samples, unsigned long frames, Read read);
  std::vector<Level> Levels(const Window& window) const;
  void NoteArrival(CaptureClock::time_point now);

  AudioFormat format_;
  unsigned long frames_ = 0;
  unsigned long lost_ = 0;
  CaptureClock::time_point first_;
  CaptureClock::time_point latest_;
  Window all_;
  Window shown_;    ///< the latest complete one of the meter
  Window current_;  ///< the one after it

  // How late the sound is against its own count of frames grows where some is missing. A single
  // buffer may come late and be followed by early ones; so the least delay of several counts.
  unsigned arrivals_ = 0;  ///< in the current group
  double leastDelay_ = 0;  ///< in the current group, in seconds
  double delay_ = 0;       ///< the least one of the group before
  double missing_ = 0;     ///< in seconds
};

#endif  // ZORVEX_TOOLS_SOUNDLOG_H
