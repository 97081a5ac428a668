// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FOURCHARCODE_H
#define ZORVEX_PLATFORM_FOURCHARCODE_H

#include <cstdint>

/// A four-character code as one big-endian number: FourCharCode("2vuy").
constexpr std::uint32_t FourCharCode(const char (&text)[5]) {
  std::uint32_t code = 0;
  for (int i = 0; i < 4; ++i)
    code = code << 8 | static_cast<unsigned char>(text[i]);
  return code;
}

#endif  // ZORVEX_PLATFORM_FOURCHARCODE_H
