// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AVC_AVCTRANSPORT_H
#define ZORVEX_PLATFORM_AVC_AVCTRANSPORT_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "platform/avc/fcpchannel.h"
#include "platform/qtcapturedevice.h"

/// The position of a tape as its deck tells it.
struct AvcTimeCode {
  int hours = 0;
  int minutes = 0;
  int seconds = 0;
  int frames = 0;
  bool dropFrame = false;

  bool operator==(const AvcTimeCode&) const = default;
};

/// The transport of a tape recorder behind a channel: speed and playback mode as commands of the
/// tape recorder subunit and back (speedtable.h has the speeds). Recording is never begun.
///
/// Thread-safe. Every call returns within about a second, also when the deck is silent or another
/// thread's call is in progress.
class AvcTransport {
 public:
  /// `channel` is used by this object alone.
  explicit AvcTransport(std::shared_ptr<FcpChannel> channel);

  /// What the tape does now; while it changes, what it is about to do. A pause is playing at speed
  /// 0. None when the deck does not say, as a camcorder in camera mode.
  std::optional<QTCaptureDeviceAVCTransportControls> Controls();
  /// Makes the tape do it. Playback mode 0 stops or, by the sign of the speed, winds; mode 1 plays
  /// at the nearest speed that there is a command for. Winding from a picture stops the tape first
  /// and waits for that, within the limit: asked to wind while they play, decks only search.
  void SetControls(const QTCaptureDeviceAVCTransportControls& controls);
  /// None when the tape has no time code here, or the deck does not say.
  std::optional<AvcTimeCode> TimeCode();

 private:
  using Deadline = std::chrono::steady_clock::time_point;
  using Bytes = std::vector<std::uint8_t>;
  struct State {
    std::uint8_t operation;
    std::uint8_t mode;
    bool changes;  ///< is about to be reached
  };

  enum class Outcome { Accepted, Refused, NoAnswer };

  std::optional<Bytes> Transact(std::span<const std::uint8_t> command, Deadline deadline);
  Outcome Command(std::uint8_t operation, std::uint8_t mode, Deadline deadline);
  std::optional<State> ReadState(Deadline deadline);
  void Play(long speed, Deadline deadline);
  void Pause(Deadline deadline);
  void Wind(long direction, Deadline deadline);

  /// The right to use the channel for one call, or not when it was not to be had in time.
  class Turn {
   public:
    Turn(AvcTransport& transport, Deadline deadline);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    explicit operator bool() const { return isMine_; }

   private:
    AvcTransport& transport_;
    bool isMine_;
  };

  std::mutex mutex_;
  std::condition_variable turnEnded_;
  bool isInUse_ = false;  ///< guarded by mutex_
  const std::shared_ptr<FcpChannel> channel_;
};

#endif  // ZORVEX_PLATFORM_AVC_AVCTRANSPORT_H
