// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_ASCIIBLOCK_H
#define ZORVEX_FOUNDATION_TEXT_ASCIIBLOCK_H

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// \file
/// Sixteen characters at a time between units of 1, 2 and 4 bytes, in vector code where the
/// processor is known to have it.

inline constexpr std::size_t kAsciiBlock = 16;
inline constexpr std::size_t kStartsBlock = 64;

#if defined(__SSE2__)

namespace asciiblock {

template <typename Unit>
__m128i Load(const Unit* units) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
}

template <typename Unit>
void Store(Unit* units, __m128i block) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(units), block);
}

inline void StoreWide(unsigned short* dest, __m128i low, __m128i high) {
  Store(dest, low);
  Store(dest + 8, high);
}

inline void StoreWide(wchar_t* dest, __m128i low, __m128i high) {
  const __m128i zero = _mm_setzero_si128();
  Store(dest, _mm_unpacklo_epi16(low, zero));
  Store(dest + 4, _mm_unpackhi_epi16(low, zero));
  Store(dest + 8, _mm_unpacklo_epi16(high, zero));
  Store(dest + 12, _mm_unpackhi_epi16(high, zero));
}

inline bool IsZero(__m128i block) {
  return _mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_setzero_si128())) == 0xFFFF;
}

}  // namespace asciiblock

/// Whether 16 bytes are ASCII; `dest` is written if they are.
template <typename Unit>
bool WidenAsciiBlock(Unit* dest, const unsigned char* src) {
  const __m128i block = asciiblock::Load(src);
  if (_mm_movemask_epi8(block) != 0) return false;
  const __m128i zero = _mm_setzero_si128();
  asciiblock::StoreWide(dest, _mm_unpacklo_epi8(block, zero), _mm_unpackhi_epi8(block, zero));
  return true;
}

/// Whether 16 units are ASCII; `dest` is written if they are.
inline bool NarrowAsciiBlock(char* dest, const unsigned short* src) {
  const __m128i low = asciiblock::Load(src);
  const __m128i high = asciiblock::Load(src + 8);
  const __m128i other = _mm_set1_epi16(static_cast<short>(0xFF80));
  if (!asciiblock::IsZero(_mm_and_si128(_mm_or_si128(low, high), other))) return false;
  asciiblock::Store(dest, _mm_packus_epi16(low, high));
  return true;
}

inline bool NarrowAsciiBlock(char* dest, const wchar_t* src) {
  const __m128i a = asciiblock::Load(src);
  const __m128i b = asciiblock::Load(src + 4);
  const __m128i c = asciiblock::Load(src + 8);
  const __m128i d = asciiblock::Load(src + 12);
  const __m128i all = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
  if (!asciiblock::IsZero(_mm_and_si128(all, _mm_set1_epi32(~0x7F)))) return false;
  asciiblock::Store(dest, _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d)));
  return true;
}

/// Whether 16 bytes are ASCII; `dest` is written if they are.
inline bool CopyAsciiBlock(char* dest, const char* src) {
  const __m128i block = asciiblock::Load(src);
  if (_mm_movemask_epi8(block) != 0) return false;
  asciiblock::Store(dest, block);
  return true;
}

/// A bit for each of 64 bytes of UTF-8 that is no continuation byte.
inline std::uint64_t CharacterStarts(const unsigned char* src) {
  const __m128i lastContinuation = _mm_set1_epi8(static_cast<char>(0xBF));
  std::uint64_t starts = 0;
  for (unsigned int i = 0; i < kStartsBlock; i += 16) {
    const __m128i isStart = _mm_cmpgt_epi8(asciiblock::Load(src + i), lastContinuation);
    starts |= static_cast<std::uint64_t>(_mm_movemask_epi8(isStart)) << i;
  }
  return starts;
}

#else

template <typename Unit>
bool WidenAsciiBlock(Unit* dest, const unsigned char* src) {
  unsigned int all = 0;
  for (std::size_t i = 0; i < kAsciiBlock; ++i)
    all |= src[i];
  if (all >= 0x80) return false;
  for (std::size_t i = 0; i < kAsciiBlock; ++i)
    dest[i] = static_cast<Unit>(src[i]);
  return true;
}

template <typename Unit>
bool NarrowAsciiBlock(char* dest, const Unit* src) {
  std::uint32_t all = 0;
  for (std::size_t i = 0; i < kAsciiBlock; ++i)
    all |= static_cast<std::uint32_t>(src[i]);
  if (all >= 0x80) return false;
  for (std::size_t i = 0; i < kAsciiBlock; ++i)
    dest[i] = static_cast<char>(src[i]);
  return true;
}

inline bool CopyAsciiBlock(char* dest, const char* src) {
  unsigned int all = 0;
  for (std::size_t i = 0; i < kAsciiBlock; ++i)
    all |= static_cast<unsigned char>(src[i]);
  if (all >= 0x80) return false;
  for (std::size_t i = 0; i < kAsciiBlock; ++i)
    dest[i] = src[i];
  return true;
}

inline std::uint64_t CharacterStarts(const unsigned char* src) {
  std::uint64_t starts = 0;
  for (unsigned int i = 0; i < kStartsBlock; ++i)
    starts |= static_cast<std::uint64_t>((src[i] & 0xC0) != 0x80) << i;
  return starts;
}

#endif

#endif  // ZORVEX_FOUNDATION_TEXT_ASCIIBLOCK_H
