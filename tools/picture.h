// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_PICTURE_H
#define ZORVEX_TOOLS_PICTURE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// How the pixels of a frame lie in memory, as the video callback tells it.
struct FrameFormat {
  std::uint32_t pixelFormat = 0;  ///< four-character code
  unsigned long width = 0;
  unsigned long height = 0;
  unsigned long bytesPerRow = 0;  ///< of the first plane
};

/// Red, green and blue bytes, row after row without padding.
struct Picture {
  Picture() = default;
  Picture(std::size_t w, std::size_t h) : width(w), height(h), rgb(w * h * 3) {}
  std::uint8_t* Row(std::size_t y) { return rgb.data() + y * width * 3; }
  const std::uint8_t* Row(std::size_t y) const { return rgb.data() + y * width * 3; }

  std::size_t width = 0;
  std::size_t height = 0;
  std::vector<std::uint8_t> rgb;
};

/// How many bytes from the first pixel on belong to such a frame, all planes included; 0 when the
/// format is not one of those that ToPicture knows or the sizes contradict each other.
///
/// The callback tells nothing of the planes that follow the first one. They are taken to lie behind
/// it as drivers and GStreamer place them: the luma plane has an even number of rows, and where its
/// rows have no padding beyond four bytes the chroma rows are rounded up to four bytes by
/// themselves, else they have half its length.
std::size_t FrameBytes(const FrameFormat& format);

/// Converts a frame of FrameBytes bytes. YCbCr is taken as BT.709 from 720 rows on and as BT.601
/// below, in video range except for '420f'; 'L008' is grey in full range. Alpha is ignored.
Picture ToPicture(std::span<const std::uint8_t> pixels, const FrameFormat& format);

/// The picture with the given width and its own proportions, each pixel the average of those it
/// stands for. A picture that is not wider comes back as it is.
Picture ScaledDown(const Picture& picture, std::size_t width);

#endif  // ZORVEX_TOOLS_PICTURE_H
