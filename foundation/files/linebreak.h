// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_LINEBREAK_H
#define ZORVEX_FOUNDATION_FILES_LINEBREAK_H

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <bit>
#include <cstddef>
#include <cstring>

inline bool IsLineBreak(char character) {
  return character == '\n' || character == '\r';
}

#if defined(__SSE2__)
/// One bit for each of 16 characters that is a line break.
inline unsigned int LineBreaks(__m128i text) {
  const __m128i breaks = _mm_or_si128(_mm_cmpeq_epi8(text, _mm_set1_epi8('\n')),
                                      _mm_cmpeq_epi8(text, _mm_set1_epi8('\r')));
  return static_cast<unsigned int>(_mm_movemask_epi8(breaks));
}
#endif

/// The first line feed or carriage return in [begin, end), else `end`. One pass for both, so that a
/// text without one of the two costs no more than any other.
inline const char* FindLineBreak(const char* begin, const char* end) {
#if defined(__SSE2__)
  for (; end - begin >= 16; begin += 16) {
    const unsigned int breaks =
        LineBreaks(_mm_loadu_si128(reinterpret_cast<const __m128i*>(begin)));
    if (breaks != 0) return begin + std::countr_zero(breaks);
  }
#endif
  while (begin != end && !IsLineBreak(*begin))
    ++begin;
  return begin;
}

/// The same, and copies what is in front of it to `dest`, and nothing more.
inline const char* CopyToLineBreak(const char* begin, const char* end, char* dest) {
#if defined(__SSE2__)
  const char* at = begin;
  for (; end - at >= 16; at += 16, dest += 16) {
    const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    const unsigned int breaks = LineBreaks(text);
    if (breaks == 0) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dest), text);
      continue;
    }
    const auto rest = std::countr_zero(breaks);
    if (at == begin) {
      std::memcpy(dest, at, static_cast<std::size_t>(rest));
    } else {
      // Some of it again: quicker than to count how much is left.
      const __m128i last = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + rest - 16));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dest + rest - 16), last);
    }
    return at + rest;
  }
  begin = at;
#endif
  for (; begin != end && !IsLineBreak(*begin); ++begin)
    *dest++ = *begin;
  return begin;
}

#endif  // ZORVEX_FOUNDATION_FILES_LINEBREAK_H
