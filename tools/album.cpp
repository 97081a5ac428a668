// SPDX-License-Identifier: MIT
#include "tools/album.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/font.h"
#include "tools/timecode.h"

namespace {

constexpr std::size_t gridColumns = 4;
constexpr std::size_t thumbnailWidth = 320;
constexpr std::size_t gap = 8;
constexpr std::uint8_t background = 32;

/// A cell is wide enough for a time code also when the pictures are tiny.
constexpr std::size_t captionWidth = 11 * fontCellWidth;

std::string Seconds(double seconds) {
  char text[32];
  const auto hundredths = static_cast<unsigned long>(std::lround(seconds * 100));
  std::snprintf(text, sizeof text, "%lu:%02lu.%02lu", hundredths / 6000, hundredths / 100 % 60,
                hundredths % 100);
  return text;
}

void Paste(const Picture& picture, std::size_t left, std::size_t top, Picture& onto) {
  for (std::size_t y = 0; y < picture.height; ++y) {
    std::copy_n(picture.Row(y), picture.width * 3, onto.Row(top + y) + left * 3);
  }
}

}  // namespace

void Album::Add(const KeptFrame& frame) {
  Picture picture = ToPicture(frame.pixels, frame.format);
  if (picture.rgb.empty()) return;
  if (frame.forSheet) {
    thumbnails_.push_back({ScaledDown(picture, thumbnailWidth), frame.timeCode
                                                                    ? TimeCodeText(*frame.timeCode)
                                                                    : Seconds(frame.seconds)});
  }
  if (frame.forSnapshot) snapshot_ = std::move(picture);
}

Picture Album::ContactSheet() const {
  if (thumbnails_.empty()) return {};
  std::size_t cellWidth = captionWidth;
  std::size_t pictureHeight = 0;
  // A device may change the size of its frames in mid-capture; the largest sets the grid.
  for (const auto& thumbnail : thumbnails_) {
    cellWidth = std::max(cellWidth, thumbnail.picture.width);
    pictureHeight = std::max(pictureHeight, thumbnail.picture.height);
  }
  const std::size_t cellHeight = pictureHeight + gap / 2 + fontHeight;
  const std::size_t columns = std::min(gridColumns, thumbnails_.size());
  const std::size_t rows = (thumbnails_.size() + columns - 1) / columns;
  Picture sheet(gap + columns * (cellWidth + gap), gap + rows * (cellHeight + gap));
  std::fill(sheet.rgb.begin(), sheet.rgb.end(), background);
  for (std::size_t i = 0; i < thumbnails_.size(); ++i) {
    const std::size_t left = gap + i % columns * (cellWidth + gap);
    const std::size_t top = gap + i / columns * (cellHeight + gap);
    Paste(thumbnails_[i].picture, left, top, sheet);
    DrawTime(sheet, left, top + pictureHeight + gap / 2, thumbnails_[i].caption);
  }
  return sheet;
}
