// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_DOTFONT_H
#define ZORVEX_PLATFORM_SIMULATED_DOTFONT_H

#include <cstddef>

/// The characters of a burnt-in time code as dots in cells of one size. A character takes five by
/// seven dots; the first column and the first row of its cell stay dark.
constexpr std::size_t kDotCellWidth = 6;
constexpr std::size_t kDotCellHeight = 8;

/// Whether a dot of a character's cell is bright. Characters other than digits, ':' and ';' are
/// blank, as is everything outside the cell.
bool IsDotSet(char character, std::size_t column, std::size_t row);

#endif  // ZORVEX_PLATFORM_SIMULATED_DOTFONT_H
