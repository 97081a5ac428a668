// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdint>
#include <iterator>

#include "foundation/text/charsets.h"

namespace {

struct Range {
  std::uint32_t first, last;
};

// What is written from right to left, in order. Deliberately fixed: Unicode has given more such
// characters since, and stored layouts were made with these.
constexpr Range kRightToLeft[] = {
    {0x05BE, 0x05BE}, {0x05C0, 0x05C0}, {0x05C3, 0x05C3}, {0x05D0, 0x05EA}, {0x05F0, 0x05F4},
    {0x061B, 0x061B}, {0x061F, 0x061F}, {0x0621, 0x063A}, {0x0640, 0x064A}, {0x066D, 0x066F},
    {0x0671, 0x06D5}, {0x06DD, 0x06DD}, {0x06E5, 0x06E6}, {0x06FA, 0x06FE}, {0x0700, 0x070D},
    {0x0710, 0x0710}, {0x0712, 0x072C}, {0x0780, 0x07A5}, {0x07B1, 0x07B1}, {0x200F, 0x200F},
    {0xFB1D, 0xFB1D}, {0xFB1F, 0xFB28}, {0xFB2A, 0xFB36}, {0xFB38, 0xFB3C}, {0xFB3E, 0xFB3E},
    {0xFB40, 0xFB41}, {0xFB43, 0xFB44}, {0xFB46, 0xFBB1}, {0xFBD3, 0xFD3D}, {0xFD50, 0xFD8F},
    {0xFD92, 0xFDC7}, {0xFDF0, 0xFDFC}, {0xFE70, 0xFE74}, {0xFE76, 0xFEFC}};

}  // namespace

bool LCharsetsIsLeftToRight(wchar_t codePoint) {
  // NOLINTNEXTLINE(bugprone-signed-char-misuse): as it is for a code point
  const auto value = static_cast<std::uint32_t>(codePoint);
  if (value < 0x05BE) return true;  // nearly every character
  const auto* const range =
      std::lower_bound(std::begin(kRightToLeft), std::end(kRightToLeft), value,
                       [](const Range& candidate, std::uint32_t c) { return candidate.last < c; });
  return range == std::end(kRightToLeft) || value < range->first;
}
