// SPDX-License-Identifier: MIT
#include "tools/font.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

constexpr std::size_t scale = 2;
constexpr std::size_t columns = 5;
constexpr std::size_t rows = 7;
static_assert((columns + 1) * scale == fontCellWidth && rows * scale == fontHeight);

/// Seven rows from the top, the leftmost of the five dots in bit 4.
using Glyph = std::array<std::uint8_t, rows>;

constexpr std::string_view characters = "0123456789:;.";
constexpr Glyph glyphs[] = {
    {0x0e, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0e}, {0x04, 0x0c, 0x04, 0x04, 0x04, 0x04, 0x0e},
    {0x0e, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1f}, {0x1f, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0e},
    {0x02, 0x06, 0x0a, 0x12, 0x1f, 0x02, 0x02}, {0x1f, 0x10, 0x1e, 0x01, 0x01, 0x11, 0x0e},
    {0x06, 0x08, 0x10, 0x1e, 0x11, 0x11, 0x0e}, {0x1f, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0e, 0x11, 0x11, 0x0e, 0x11, 0x11, 0x0e}, {0x0e, 0x11, 0x11, 0x0f, 0x01, 0x02, 0x0c},
    {0x00, 0x0c, 0x0c, 0x00, 0x0c, 0x0c, 0x00}, {0x00, 0x0c, 0x0c, 0x00, 0x0c, 0x04, 0x08},
    {0x00, 0x00, 0x00, 0x00, 0x00, 0x0c, 0x0c},
};
static_assert(characters.size() == std::size(glyphs));

void DrawGlyph(Picture& picture, std::size_t left, std::size_t top, const Glyph& glyph) {
  for (std::size_t y = 0; y < rows * scale && top + y < picture.height; ++y) {
    const unsigned dots = glyph[y / scale];
    for (std::size_t x = 0; x < columns * scale && left + x < picture.width; ++x) {
      if ((dots >> (columns - 1 - x / scale) & 1) == 0) continue;
      std::fill_n(picture.Row(top + y) + (left + x) * 3, 3, std::uint8_t{255});
    }
  }
}

}  // namespace

void DrawTime(Picture& picture, std::size_t left, std::size_t top, std::string_view text) {
  for (const char c : text) {
    const std::size_t index = characters.find(c);
    if (index != std::string_view::npos) DrawGlyph(picture, left, top, glyphs[index]);
    left += fontCellWidth;
  }
}
