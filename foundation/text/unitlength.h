// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_UNITLENGTH_H
#define ZORVEX_FOUNDATION_TEXT_UNITLENGTH_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cwchar>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

inline std::size_t LengthByUnits(const unsigned short* text, std::size_t limit) {
  std::size_t length = 0;
  while (length < limit && text[length] != 0)
    ++length;
  return length;
}

#if defined(__SSE2__)

/// Blocks of eight units. They are read aligned: what is read around the text lies in pages
/// of the text.
__attribute__((no_sanitize("address", "thread"))) inline std::size_t LengthByBlocks(
    const unsigned short* text, std::size_t limit) {
  constexpr std::size_t kBlock = sizeof(__m128i) / sizeof *text;
  const std::size_t before =
      reinterpret_cast<std::uintptr_t>(text) % sizeof(__m128i) / sizeof *text;
  const auto* block = reinterpret_cast<const __m128i*>(text - before);
  const auto zeroBytes = [](__m128i units) {
    return static_cast<unsigned int>(
        _mm_movemask_epi8(_mm_cmpeq_epi16(units, _mm_setzero_si128())));
  };
  unsigned int zeros = zeroBytes(*block) >> before * sizeof *text << before * sizeof *text;
  std::size_t length = 0;
  for (; zeros == 0 && length + kBlock - before < limit; length += kBlock)
    zeros = zeroBytes(*++block);
  if (zeros == 0) return limit;
  length += static_cast<std::size_t>(std::countr_zero(zeros)) / sizeof *text - before;
  return std::min(length, limit);
}

#endif

/// Number of UTF-16 units in front of the terminator, at most `limit`; 0 of null.
inline std::size_t LengthUpTo(const unsigned short* text, std::size_t limit) {
  if (!text || limit == 0) return 0;
#if defined(__SSE2__)
  if (reinterpret_cast<std::uintptr_t>(text) % sizeof *text == 0)
    return LengthByBlocks(text, limit);
#endif
  return LengthByUnits(text, limit);
}

/// The same of UTF-32.
inline std::size_t LengthUpTo(const wchar_t* text, std::size_t limit) {
  return text ? ::wcsnlen(text, limit) : 0;
}

inline constexpr std::size_t kNoLimit = SIZE_MAX;

#endif  // ZORVEX_FOUNDATION_TEXT_UNITLENGTH_H
