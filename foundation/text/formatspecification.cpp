// SPDX-License-Identifier: MIT
#include "foundation/text/formatspecification.h"

#include <cstddef>

const char* FormatSpecification::ReadIrregular(const char* next) {
  while (IsKept(*next))
    ++next;
  // What is too long is consumed but does not count, not even as the L of a long double.
  length = static_cast<int>(std::min<std::ptrdiff_t>(next - text, Kept));
  char kept[Kept + 1];
  *std::copy_n(text, length, kept) = 0;
  precision = None;
  modifier = Modifier::None;
  regular = Parse(kept) == kept + length;
  return next;
}
