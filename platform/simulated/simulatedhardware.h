// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SIMULATEDHARDWARE_H
#define ZORVEX_PLATFORM_SIMULATED_SIMULATEDHARDWARE_H

#include <gst/gst.h>

#include <chrono>
#include <cstdint>
#include <mutex>
#include <vector>

#include "platform/gstreamer/gstpointer.h"
#include "platform/simulated/clockwait.h"
#include "platform/simulated/simulateddescription.h"
#include "platform/simulated/tapetransport.h"

/// What a simulated device is made of: the part that the device and its sources share and that
/// stays when a source goes. Thread-safe.
class SimulatedHardware {
 public:
  /// `tapeClock` moves the tape: the monotonic clock of the system when it is none.
  explicit SimulatedHardware(SimulatedDescription description, TapeTransport::Clock tapeClock = {});

  const SimulatedDescription& Description() const { return description_; }

  bool IsConnected() const;
  /// How often the plug was pulled: a source that sees another number has lost its device.
  int TimesUnplugged() const;
  /// Pulls the plug if that is due once so many frames have been delivered: once in the device's
  /// life. True when it did.
  bool PullPlugAfter(std::uint64_t frames);
  /// Does not answer for as long as the description says: returns after that time.
  void Hang();
  /// When the device will answer again; a time that has passed when it does.
  std::chrono::steady_clock::time_point HangsUntil() const;

  /// Of a camcorder, as the rest.
  TapeTransport& Tape() { return tape_; }
  /// Does what the description says about the first opening.
  void NoteOpening();
  /// The time code of a frame of a tape without a file.
  TapeTime TimeCodeOf(std::uint64_t frame) const;
  /// A time by the tape's clock as the clock of a pipeline tells it; the same for all who ask about
  /// one clock.
  GstClockTime PipelineTime(GstClock* clock, std::chrono::nanoseconds tapeTime);

  /// Has a wait woken when the tape gets another motion or the plug is pulled.
  void AddListener(ClockWait& wait);
  void RemoveListener(ClockWait& wait);

 private:
  void WakeListeners();

  const SimulatedDescription description_;
  const TapeCounter counter_;
  const std::uint64_t tapeStart_;  ///< in its day
  TapeTransport tape_;

  mutable std::mutex mutex_;  ///< guards what follows
  int timesUnplugged_ = 0;
  std::chrono::steady_clock::time_point pulledAt_;
  std::chrono::steady_clock::time_point hangsUntil_;
  bool wasOpened_ = false;
  std::vector<ClockWait*> listeners_;
  GstPointer<GstClock> clock_;  ///< that the next is about
  std::int64_t clockOffset_ = 0;
};

#endif  // ZORVEX_PLATFORM_SIMULATED_SIMULATEDHARDWARE_H
