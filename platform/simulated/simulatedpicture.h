// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SIMULATEDPICTURE_H
#define ZORVEX_PLATFORM_SIMULATED_SIMULATEDPICTURE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/// Paints the frames of a simulated device: colour bars, a bright bar that moves across them and a
/// burnt-in text at the lower left, whose layout docs/simulated.md gives so that programs can read
/// it back. Everything above, below and within one row of dots of the text repeats line by line;
/// so a frame costs little more than writing its memory once.
class SimulatedPicture {
 public:
  static constexpr std::size_t kMaxPlanes = 3;
  static constexpr std::size_t kMaxText = 11;

  /// A part of a frame's memory.
  struct Plane {
    unsigned char* pixels = nullptr;
    std::size_t bytesPerRow = 0;
  };

  /// Whether pictures of this format (a four-character code) can be painted.
  static bool HasFormat(std::uint32_t format);

  /// `format` is one that HasFormat knows; width and height are even.
  SimulatedPicture(std::uint32_t format, int width, int height);

  /// Paints frame number `index` into the planes of its format, in their order. The text consists
  /// of digits, ':' and ';' and is cut to kMaxText characters. Allocates nothing.
  void Paint(std::span<const Plane> planes, std::uint64_t index, std::string_view text);

 private:
  struct Colour;
  struct Format;
  struct PlaneRows {
    std::string_view pattern;  ///< the components of two pixels side by side
    std::size_t linesPerRow;   ///< lines of the picture that share a row of the plane
    std::vector<unsigned char> bars;
    std::vector<unsigned char> row;
    std::vector<unsigned char> textRow;
  };

  static const Format kFormats[];
  static const Format* FindFormat(std::uint32_t format);
  static void Fill(PlaneRows& plane, std::vector<unsigned char>& row, std::size_t begin,
                   std::size_t end, const Colour& colour);
  void PaintBars(PlaneRows& plane) const;
  void PaintTextRow(PlaneRows& plane, std::size_t dotRow, std::string_view text) const;
  void PaintPlane(PlaneRows& rows, const Plane& plane, std::uint64_t index,
                  std::string_view text) const;

  std::size_t pairs_;  ///< two pixels side by side: the unit of every horizontal measure
  std::size_t lines_;
  std::size_t dot_;  ///< the width of a dot of the text in pairs, half its height in lines
  std::vector<PlaneRows> planes_;
};

#endif  // ZORVEX_PLATFORM_SIMULATED_SIMULATEDPICTURE_H
