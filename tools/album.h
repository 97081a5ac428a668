// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_ALBUM_H
#define ZORVEX_TOOLS_ALBUM_H

#include <optional>
#include <string>
#include <vector>

#include "tools/framering.h"
#include "tools/picture.h"

/// The pictures of a capture: turns the frames that were kept into a snapshot and a contact sheet.
class Album {
 public:
  /// Takes in a kept frame, in the order of the capture.
  void Add(const KeptFrame& frame);

  /// The latest of the frames meant for it; none before the first.
  const std::optional<Picture>& Snapshot() const { return snapshot_; }

  /// The frames meant for it as a grid with four in a row, each above its time code or, without
  /// one, its time from the first frame; an empty picture without frames.
  Picture ContactSheet() const;

 private:
  struct Thumbnail {
    Picture picture;
    std::string caption;
  };

  std::optional<Picture> snapshot_;
  std::vector<Thumbnail> thumbnails_;
};

#endif  // ZORVEX_TOOLS_ALBUM_H
