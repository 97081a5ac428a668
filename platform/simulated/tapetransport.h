// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_TAPETRANSPORT_H
#define ZORVEX_PLATFORM_SIMULATED_TAPETRANSPORT_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>

#include "platform/simulated/tapecounter.h"

/// Speeds and positions on a tape are counted in 480ths of a frame, in which every speed of a deck
/// is a whole number.
constexpr std::int64_t kTapeUnits = 480;

/// What a mechanism is told to do with the tape.
struct TapeDrive {
  std::uint8_t operation = 0;  ///< the state as AV/C names it, as the next
  std::uint8_t mode = 0;
  std::int64_t speed = 0;  ///< in 480ths of normal speed; negative is reverse
  int step = 0;            ///< frames to move at once
  bool isViewable = false;

  bool operator==(const TapeDrive&) const = default;
};

/// What a tape does from a moment on until that changes.
struct TapeMotion {
  static constexpr std::uint64_t kWithoutEnd = UINT64_MAX;

  std::uint64_t number = 0;  ///< another one for each motion
  TapeDrive drive;
  FrameRate rate;
  std::chrono::nanoseconds start{};  ///< by the clock of the tape; till then the mechanism is busy
  std::int64_t position = 0;         ///< at the start
  std::uint64_t end = kWithoutEnd;   ///< after so many ticks the tape has come to its end
  /// Ticks that show a frame: none, the one of a step, or all until the end.
  std::uint64_t pictures = 0;

  /// A tape moves in ticks, one for each frame's time, and a frame is shown at the beginning of
  /// its tick. The tick that a moment falls into; 0 before the start.
  std::uint64_t TickAt(std::chrono::nanoseconds time) const;
  std::chrono::nanoseconds TimeOf(std::uint64_t tick) const;
  std::int64_t PositionAt(std::uint64_t tick) const {
    return position + drive.speed * static_cast<std::int64_t>(tick);
  }
};

/// The mechanism of a tape deck: moves a tape by the clock, whether anybody looks or not. The tape
/// stands at its start when it is made. Thread-safe; it has no thread, what happens by itself is
/// worked out when it is asked for.
class TapeTransport {
 public:
  using Clock = std::function<std::chrono::nanoseconds()>;

  /// `frames` is the length of the tape, 1 at least. `spinUp` is the time that the mechanism takes
  /// from one motion to another. `onChange` is called after each motion that was asked for, without
  /// a lock.
  TapeTransport(FrameRate rate, std::uint64_t frames, std::chrono::nanoseconds spinUp, Clock clock,
                std::function<void()> onChange);

  /// Begins another motion, or goes on with the present one when it is the same; at once or after
  /// the time that the mechanism takes. Till then the tape stands still.
  void Drive(const TapeDrive& drive, bool isPrompt = false);
  /// The present motion or the one to come.
  TapeMotion Motion() const;
  bool IsInTransition() const;
  /// The frame under the head, counted from the start of the tape; at its end the last one.
  std::uint64_t Frame() const;
  std::chrono::nanoseconds Now() const { return clock_(); }

 private:
  void EndAtEdge() const;
  void Begin(const TapeDrive& drive, std::chrono::nanoseconds start, std::int64_t position) const;

  const std::int64_t length_;
  const std::chrono::nanoseconds spinUp_;
  const Clock clock_;
  const std::function<void()> onChange_;
  mutable std::mutex mutex_;  ///< guards what follows
  mutable TapeMotion motion_;
};

#endif  // ZORVEX_PLATFORM_SIMULATED_TAPETRANSPORT_H
