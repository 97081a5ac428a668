// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_UTF8BLOCK_H
#define ZORVEX_FOUNDATION_TEXT_UTF8BLOCK_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "foundation/text/asciiblock.h"

/// \file
/// UTF-8 of up to three bytes a character in vector code: everything but emoji and rare
/// ideographs. Where the processor is not known to have it, nothing is done, and plain code is to
/// do it.

inline constexpr std::size_t kEncodedBlock = 8;         ///< units
inline constexpr std::size_t kDecodedBlock = 64;        ///< bytes
inline constexpr std::size_t kReadByDecodedBlock = 66;  ///< bytes

#if defined(__SSE2__)

namespace utf8block {

inline __m128i Both(unsigned int value) {
  return _mm_set1_epi16(static_cast<short>(value));
}

inline __m128i Select(__m128i mask, __m128i yes, __m128i no) {
  return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

inline __m128i IsAtLeast(__m128i bytes, unsigned int least) {
  return _mm_cmpeq_epi8(_mm_max_epu8(bytes, _mm_set1_epi8(static_cast<char>(least))), bytes);
}

inline __m128i IsAtMost(__m128i units, unsigned int most) {
  return _mm_cmpeq_epi16(_mm_subs_epu16(units, Both(most)), _mm_setzero_si128());
}

inline std::uint64_t Bits(__m128i mask, unsigned int place) {
  return static_cast<std::uint64_t>(_mm_movemask_epi8(mask)) << place;
}

/// What 8 bytes are worth if characters begin there, from them and the ones behind each.
inline __m128i Values(__m128i first, __m128i second, __m128i third) {
  const __m128i low = _mm_and_si128(second, Both(0x3F));
  const __m128i two = _mm_or_si128(_mm_and_si128(_mm_slli_epi16(first, 6), Both(0x7C0)), low);
  const __m128i three =
      _mm_or_si128(_mm_or_si128(_mm_slli_epi16(first, 12), _mm_slli_epi16(low, 6)),
                   _mm_and_si128(third, Both(0x3F)));
  const __m128i isTwo = _mm_cmpgt_epi16(first, Both(0x7F));
  const __m128i isThree = _mm_cmpgt_epi16(first, Both(0xDF));
  return Select(isThree, three, Select(isTwo, two, first));
}

/// Bits of 64 bytes.
struct Bytes {
  std::uint64_t isStart = 0;  ///< no continuation byte
  std::uint64_t isHigh = 0;   ///< not ASCII
  std::uint64_t isThree = 0;  ///< first of three bytes
  int isOther = 0;  ///< one is never valid, or more than the number of bytes depends on it
};

inline Bytes Classify(const unsigned char* src) {
  Bytes bytes;
  __m128i other = _mm_setzero_si128();
  for (unsigned int i = 0; i < kDecodedBlock; i += 16) {
    const __m128i block = asciiblock::Load(src + i);
    bytes.isStart |= Bits(_mm_cmpgt_epi8(block, _mm_set1_epi8(static_cast<char>(0xBF))), i);
    bytes.isHigh |= Bits(block, i);
    bytes.isThree |= Bits(IsAtLeast(block, 0xE0), i);
    const __m128i even = _mm_and_si128(block, _mm_set1_epi8(static_cast<char>(0xFE)));
    other = _mm_or_si128(other, _mm_cmpeq_epi8(even, _mm_set1_epi8(static_cast<char>(0xC0))));
    other = _mm_or_si128(other, _mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(0xE0))));
    other = _mm_or_si128(other, _mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(0xED))));
    other = _mm_or_si128(other, IsAtLeast(block, 0xF0));
  }
  bytes.isOther = _mm_movemask_epi8(other);
  return bytes;
}

inline void StoreValues(unsigned short* values, const unsigned char* src) {
  const __m128i zero = _mm_setzero_si128();
  for (std::size_t i = 0; i < kDecodedBlock; i += 16) {
    const __m128i first = asciiblock::Load(src + i);
    const __m128i second = asciiblock::Load(src + i + 1);
    const __m128i third = asciiblock::Load(src + i + 2);
    asciiblock::Store(values + i,
                      Values(_mm_unpacklo_epi8(first, zero), _mm_unpacklo_epi8(second, zero),
                             _mm_unpacklo_epi8(third, zero)));
    asciiblock::Store(values + i + 8,
                      Values(_mm_unpackhi_epi8(first, zero), _mm_unpackhi_epi8(second, zero),
                             _mm_unpackhi_epi8(third, zero)));
  }
}

}  // namespace utf8block

/// Decodes the characters that begin in 64 bytes, of which the first begins one, but the last one;
/// 66 bytes can be read. Returns their number of bytes and moves `dest`; 0, and nothing is changed,
/// where one may be invalid or have four bytes.
template <typename Unit>
std::size_t DecodeCommonBlock(Unit*& dest, const unsigned char* src) {
  const utf8block::Bytes bytes = utf8block::Classify(src);
  if (bytes.isOther != 0 || (bytes.isStart & 1) == 0) return 0;
  const unsigned int last = 63U - static_cast<unsigned int>(std::countl_zero(bytes.isStart));
  const std::uint64_t isLast = std::uint64_t{1} << last;
  const std::uint64_t isContinuationDue = (bytes.isStart & bytes.isHigh) << 1 | bytes.isThree << 2;
  const std::uint64_t isUnlike = isContinuationDue ^ ~bytes.isStart;
  if ((isUnlike & (isLast | (isLast - 1))) != 0) return 0;
  alignas(16) unsigned short values[kDecodedBlock];
  utf8block::StoreValues(values, src);
  Unit* out = dest;
  for (std::uint64_t starts = bytes.isStart & (isLast - 1); starts != 0; starts &= starts - 1)
    *out++ = static_cast<Unit>(values[std::countr_zero(starts)]);
  dest = out;
  return last;
}

/// Encodes 8 units in three bytes at most each, and returns where they end. Writes up to three
/// bytes behind that.
inline char* EncodeCommonBlock(char* dest, __m128i units) {
  const __m128i isOne = utf8block::IsAtMost(units, 0x7F);
  const __m128i isTwo = utf8block::IsAtMost(units, 0x7FF);
  const __m128i low = _mm_and_si128(units, utf8block::Both(0x3F));
  const __m128i two = _mm_or_si128(_mm_or_si128(_mm_srli_epi16(units, 6), _mm_slli_epi16(low, 8)),
                                   utf8block::Both(0x80C0));
  const __m128i middle = _mm_and_si128(_mm_slli_epi16(units, 2), utf8block::Both(0x3F00));
  const __m128i three =
      _mm_or_si128(_mm_or_si128(_mm_srli_epi16(units, 12), middle), utf8block::Both(0x80E0));
  const __m128i head = utf8block::Select(isOne, units, utf8block::Select(isTwo, two, three));
  const __m128i tail = _mm_or_si128(low, utf8block::Both(0x80));
  alignas(16) std::uint32_t words[kEncodedBlock];
  asciiblock::Store(words, _mm_unpacklo_epi16(head, tail));
  asciiblock::Store(words + 4, _mm_unpackhi_epi16(head, tail));
  // A mask is -1 in each unit that has a byte less. The product adds up: each byte of it is where
  // the next character begins.
  const __m128i counts = _mm_add_epi16(_mm_add_epi16(utf8block::Both(3), isOne), isTwo);
  std::uint64_t ends = 0;
  _mm_storel_epi64(reinterpret_cast<__m128i*>(&ends), _mm_packus_epi16(counts, counts));
  ends *= 0x0101010101010101;
  std::memcpy(dest, &words[0], 4);
  for (unsigned int i = 1; i < kEncodedBlock; ++i)
    std::memcpy(dest + (ends >> 8 * (i - 1) & 0xFF), &words[i], 4);
  return dest + (ends >> 56);
}

inline char* EncodeCommonUnits(char* dest, const unsigned short* src) {
  return EncodeCommonBlock(dest, asciiblock::Load(src));
}

/// The same for code points; null when one is above U+FFFF.
inline char* EncodeCommonUnits(char* dest, const wchar_t* src) {
  const __m128i low = asciiblock::Load(src);
  const __m128i high = asciiblock::Load(src + 4);
  if (!asciiblock::IsZero(_mm_srli_epi32(_mm_or_si128(low, high), 16))) return nullptr;
  // Packing is for signed numbers: the sign goes where it is to be.
  const auto sign = [](__m128i block) { return _mm_srai_epi32(_mm_slli_epi32(block, 16), 16); };
  return EncodeCommonBlock(dest, _mm_packs_epi32(sign(low), sign(high)));
}

#else

template <typename Unit>
std::size_t DecodeCommonBlock(Unit*&, const unsigned char*) {
  return 0;
}

template <typename Unit>
char* EncodeCommonUnits(char*, const Unit*) {
  return nullptr;
}

#endif

#endif  // ZORVEX_FOUNDATION_TEXT_UTF8BLOCK_H
