// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_DVTAPE_H
#define ZORVEX_PLATFORM_SIMULATED_DVTAPE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/dv/dvsound.h"
#include "platform/simulated/tapecounter.h"
#include "platform/uniquefd.h"

/// A file of DV frames, one after the other, as the cassette of a simulated camcorder. It is read
/// frame by frame and may be of any size; what becomes of it while it is in use does no harm.
/// Thread-safe.
class DvTape {
 public:
  /// Null when this is no regular file that can be read, or does not begin with a whole frame of
  /// DV. Does not wait for a file that has no end, as a pipe.
  static std::shared_ptr<const DvTape> Load(const std::string& path);

  DvTape(UniqueFd file, gstreamer::DvSystem system, std::uint64_t frames);

  gstreamer::DvSystem System() const { return system_; }
  std::size_t FrameSize() const { return gstreamer::DvFrameSize(system_); }
  FrameRate Rate() const;
  int Height() const { return system_ == gstreamer::DvSystem::Lines625 ? 576 : 480; }
  /// Whole ones, as there were when the tape was loaded.
  std::uint64_t Frames() const { return frames_; }
  /// Of the first frame.
  const std::optional<gstreamer::DvSound>& Sound() const { return sound_; }

  /// Reads a frame into memory of FrameSize. False when the file does not give it any more.
  bool Read(std::uint64_t index, std::span<std::uint8_t> frame) const;

 private:
  const UniqueFd file_;
  const gstreamer::DvSystem system_;
  const std::uint64_t frames_;
  std::optional<gstreamer::DvSound> sound_;
};

using TapeLoader = std::function<std::shared_ptr<const DvTape>(const std::string& path)>;

#endif  // ZORVEX_PLATFORM_SIMULATED_DVTAPE_H
