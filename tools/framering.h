// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_FRAMERING_H
#define ZORVEX_TOOLS_FRAMERING_H

#include <zorvex/zorvex.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/picture.h"

/// A copy of a frame that pictures are made of.
struct KeptFrame {
  std::vector<std::uint8_t> pixels;
  FrameFormat format;
  std::optional<SMPTETime> timeCode;
  double seconds = 0;  ///< since the first frame
  bool forSnapshot = false;
  bool forSheet = false;
};

/// Chooses the few frames of a capture that its pictures need, and holds their copies between the
/// thread that captures and the one that makes the pictures. The copies' memory is used again, so
/// that a capture needs that of three frames however many pictures it makes.
///
/// The caller guards all calls with one lock, which it gives up while it fills a claimed copy or
/// reads a taken one.
class FrameRing {
 public:
  FrameRing(bool snapshot, bool sheet) : snapshot_(snapshot), sheet_(sheet) {}

  /// The copy to fill with a frame that comes after `share` (0 to 1) of the capture, or null when
  /// it is not needed or no copy is free; then the next frame takes its place. The snapshot is the
  /// first frame until the one in the middle is there; the sheet has a frame for each twelfth of
  /// the capture.
  KeptFrame* Claim(double share);
  /// The claimed copy is filled.
  void Filled();

  /// The oldest filled copy, or null.
  const KeptFrame* Take();
  /// The taken copy is no longer needed.
  void GiveBack();

 private:
  static constexpr std::size_t copies = 3;

  std::array<KeptFrame, copies> ring_;
  std::size_t filled_ = 0;  ///< counts since the start; so does the next one
  std::size_t taken_ = 0;
  const bool snapshot_;
  const bool sheet_;
  unsigned nextHalf_ = 0;     ///< the half of the capture that the snapshot's next frame begins
  unsigned nextTwelfth_ = 0;  ///< the twelfth that the sheet's next frame begins
};

#endif  // ZORVEX_TOOLS_FRAMERING_H
