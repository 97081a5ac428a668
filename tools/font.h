// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_FONT_H
#define ZORVEX_TOOLS_FONT_H

#include <cstddef>
#include <string_view>

#include "tools/picture.h"

/// Draws a time or time code, white, with its upper left corner at (left, top): digits, ':', ';'
/// and '.', each in a cell of 12 by 14 pixels. Other characters leave their cell empty, and what
/// lies outside the picture is not drawn.
void DrawTime(Picture& picture, std::size_t left, std::size_t top, std::string_view text);

constexpr std::size_t fontCellWidth = 12;
constexpr std::size_t fontHeight = 14;

#endif  // ZORVEX_TOOLS_FONT_H
