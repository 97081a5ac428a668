// SPDX-License-Identifier: MIT
#include "tests/support/burntin.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/cvpixelbuffer.h"

namespace {

/// Where a format keeps the brightness of a pixel, or green in place of it.
struct Sampling {
  std::uint32_t format;
  std::size_t bytesPerPixel;
  std::size_t offset;
};
constexpr Sampling kSamplings[] = {
    {FourCharCode("2vuy"), 2, 1},
    {FourCharCode("yuvs"), 2, 0},
    {FourCharCode("y420"), 1, 0},
    {FourCharCode("420v"), 1, 0},
    {FourCharCode("420f"), 1, 0},
    {FourCharCode("BGRA"), 4, 1},
    {FourCharCode("RGBA"), 4, 1},
    {24, 3, 1},
    {32, 4, 2},
};

struct Glyph {
  char character;
  std::array<std::string_view, 7> rows;
};
constexpr Glyph kGlyphs[] = {
    {'0', {" ### ", "#   #", "#  ##", "# # #", "##  #", "#   #", " ### "}},
    {'1', {"  #  ", " ##  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "}},
    {'2', {" ### ", "#   #", "    #", "   # ", "  #  ", " #   ", "#####"}},
    {'3', {"#####", "   # ", "  #  ", "   # ", "    #", "#   #", " ### "}},
    {'4', {"   # ", "  ## ", " # # ", "#  # ", "#####", "   # ", "   # "}},
    {'5', {"#####", "#    ", "#### ", "    #", "    #", "#   #", " ### "}},
    {'6', {"  ## ", " #   ", "#    ", "#### ", "#   #", "#   #", " ### "}},
    {'7', {"#####", "    #", "   # ", "  #  ", " #   ", " #   ", " #   "}},
    {'8', {" ### ", "#   #", "#   #", " ### ", "#   #", "#   #", " ### "}},
    {'9', {" ### ", "#   #", "#   #", " ####", "    #", "   # ", " ##  "}},
    {':', {"     ", " ##  ", " ##  ", "     ", " ##  ", " ##  ", "     "}},
    {';', {"     ", " ##  ", " ##  ", "     ", " ##  ", "  #  ", " #   "}},
};

using Cell = std::array<std::string, 7>;

/// The character that a cell shows; 0 when it shows none.
char Recognise(const Cell& cell) {
  for (const Glyph& glyph : kGlyphs) {
    if (std::ranges::equal(cell, glyph.rows)) return glyph.character;
  }
  return 0;
}

}  // namespace

std::string ReadBurntIn(const PictureView& picture, std::size_t sentWidth, std::size_t sentHeight) {
  if (sentWidth == 0) sentWidth = picture.width;
  if (sentHeight == 0) sentHeight = picture.height;
  const auto* sampling = std::ranges::find(kSamplings, picture.format, &Sampling::format);
  const std::size_t dot = 2 * std::min(sentWidth / 160, sentHeight / 40);
  if (sampling == std::end(kSamplings) || dot == 0) return {};

  const auto isBright = [&](std::size_t column, std::size_t row) {
    const std::size_t x = (column * dot + dot / 2) * picture.width / sentWidth;
    const std::size_t y =
        (sentHeight - 12 * dot + row * dot + dot / 2) * picture.height / sentHeight;
    return picture
               .pixels[y * picture.bytesPerRow + x * sampling->bytesPerPixel + sampling->offset] >
           128;
  };
  std::string text;
  while (text.size() < 11) {
    const std::size_t left = 6 + 6 * text.size();
    Cell cell;
    for (std::size_t row = 0; row < cell.size(); ++row) {
      for (std::size_t column = 0; column < 5; ++column) {
        cell[row] += isBright(left + 1 + column, row + 1) ? '#' : ' ';
      }
    }
    const char character = Recognise(cell);
    if (character == 0) break;
    text += character;
  }
  return text;
}
