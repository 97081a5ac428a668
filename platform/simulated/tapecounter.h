// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_TAPECOUNTER_H
#define ZORVEX_PLATFORM_SIMULATED_TAPECOUNTER_H

#include <cstdint>
#include <optional>

/// Frames per second as a fraction in lowest terms.
struct FrameRate {
  int numerator = 30;
  int denominator = 1;

  bool operator==(const FrameRate&) const = default;
};

/// The time, in nanoseconds, from frame 0 to frame `index`, rounded down.
std::uint64_t TimeOfFrames(FrameRate rate, std::uint64_t index);
/// The last frame that has begun after so many nanoseconds, by those times.
std::uint64_t FramesInTime(FrameRate rate, std::uint64_t time);

/// A SMPTE time code as a tape carries it.
struct TapeTime {
  int hours = 0;
  int minutes = 0;
  int seconds = 0;
  int frames = 0;

  bool operator==(const TapeTime&) const = default;
};

/// Counts the frames of a day from 00:00:00:00 and names them by time code. Drop-frame counting
/// leaves out the first numbers of each minute but every tenth, to keep up with the clock at
/// 30000/1001 and 60000/1001.
class TapeCounter {
 public:
  TapeCounter(FrameRate rate, bool dropFrame);

  /// Whether time codes exist at a rate: whole numbers up to 60 and the rates over 1001, drop-frame
  /// at two of these.
  static bool Supports(FrameRate rate, bool dropFrame);

  std::uint32_t FramesPerDay() const { return 144 * framesPerTenMinutes_; }
  /// The number of a frame in its day; none for a time code that does not exist.
  std::optional<std::uint32_t> FrameAt(const TapeTime& time) const;
  /// The time code of a frame; counting goes round after a day.
  TapeTime TimeAt(std::uint64_t frame) const;

 private:
  std::uint32_t framesPerSecond_;  ///< as counted: 30 at 30000/1001
  std::uint32_t dropped_;          ///< numbers left out in a minute
  std::uint32_t framesPerMinute_;  ///< in a minute that leaves numbers out
  std::uint32_t framesPerTenMinutes_;
};

#endif  // ZORVEX_PLATFORM_SIMULATED_TAPECOUNTER_H
