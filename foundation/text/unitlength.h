// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_UNITLENGTH_H
#define ZORVEX_FOUNDATION_TEXT_UNITLENGTH_H

#include <cstddef>
#include <cstdint>
#include <cwchar>

/// Number of UTF-16 units in front of the terminator, at most `limit`; 0 of null. Nothing behind
/// the terminator is read, so this cannot be vector code: eight at a time keep the loop short.
inline std::size_t LengthUpTo(const unsigned short* text, std::size_t limit) {
  if (!text) return 0;
  std::size_t length = 0;
  for (; limit - length >= 8; length += 8) {
    const unsigned short* const next = text + length;
    if (!next[0] || !next[1] || !next[2] || !next[3] || !next[4] || !next[5] || !next[6] ||
        !next[7])
      break;
  }
  while (length < limit && text[length] != 0)
    ++length;
  return length;
}

/// The same of UTF-32.
inline std::size_t LengthUpTo(const wchar_t* text, std::size_t limit) {
  return text ? ::wcsnlen(text, limit) : 0;
}

inline constexpr std::size_t kNoLimit = SIZE_MAX;

#endif  // ZORVEX_FOUNDATION_TEXT_UNITLENGTH_H
