// SPDX-License-Identifier: MIT
#include "foundation/store/base64vector.h"

#ifdef __x86_64__

#include <immintrin.h>

#define ZORVEX_AVX2 __attribute__((target("avx2")))

namespace {

/// Before this is initialised it is false, and the way without vectors is taken.
const bool kHasAvx2 = __builtin_cpu_supports("avx2");

ZORVEX_AVX2 __m256i BothHalves(__m128i half) {
  return _mm256_broadcastsi128_si256(half);
}

/// The first 12 bytes of the lower half and the last 12 of the upper one become 32 values of six
/// bits.
ZORVEX_AVX2 __m256i SplitBytes(__m256i bytes) {
  // Each three bytes a b c become b a c b: in a little-endian word of 16 bits, the first has the
  // bits of values 0 and 1, the second those of 2 and 3.
  const __m256i order = _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10,  //
                                         5, 4, 6, 5, 8, 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14);
  const __m256i words = _mm256_shuffle_epi8(bytes, order);
  // A multiplication shifts each word by a distance of its own: values 0 and 2 down to bit 0 (the
  // upper half of the product), values 1 and 3 up to bit 8 (the lower half).
  const __m256i even = _mm256_mulhi_epu16(_mm256_and_si256(words, _mm256_set1_epi32(0x0fc0fc00)),
                                          _mm256_set1_epi32(0x04000040));
  const __m256i odd = _mm256_mullo_epi16(_mm256_and_si256(words, _mm256_set1_epi32(0x003f03f0)),
                                         _mm256_set1_epi32(0x01000010));
  return _mm256_or_si256(even, odd);
}

/// Values of six bits to characters: each has the distance of its range added.
ZORVEX_AVX2 __m256i ToCharacters(__m256i values) {
  // Indexes: 0 for A-Z, 1 for a-z, 2 to 11 for the ten digits, 12 for +, 13 for /.
  const __m256i distances = BothHalves(
      _mm_setr_epi8('A', 'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                    '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 0, 0));
  const __m256i above = _mm256_subs_epu8(values, _mm256_set1_epi8(51));
  const __m256i isNoCapital = _mm256_cmpgt_epi8(values, _mm256_set1_epi8(25));  // -1 where true
  const __m256i range = _mm256_sub_epi8(above, isNoCapital);
  return _mm256_add_epi8(values, _mm256_shuffle_epi8(distances, range));
}

ZORVEX_AVX2 std::size_t EncodeAvx2(const unsigned char* bytes, std::size_t groups, char* out) {
  std::size_t done = 0;
  for (; groups - done >= 8; done += 8) {
    // Two loads that overlap, so as not to read beyond the 24 bytes.
    const unsigned char* place = bytes + 3 * done;
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(place));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(place + 8));
    const __m256i values = SplitBytes(_mm256_set_m128i(high, low));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * done), ToCharacters(values));
  }
  return done;
}

/// Characters to values of six bits; false when one is outside the alphabet.
ZORVEX_AVX2 bool ToValues(__m256i& characters) {
  // A character is outside the alphabet when the classes of its two half bytes have a bit in
  // common. Bits 0 to 3 stand for upper half bytes 2, 3, 4 or 6, and 5 or 7 with the lower ones
  // that are wrong there; bit 4 for the upper half bytes that are wrong with every lower one.
  const __m256i lowClasses =
      BothHalves(_mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13,
                               0x1a, 0x1b, 0x1b, 0x1b, 0x1a));
  const __m256i highClasses =
      BothHalves(_mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10,
                               0x10, 0x10, 0x10, 0x10, 0x10));
  // Bit 5 does not matter in an index; it keeps bit 7 out, which would give class 0.
  const __m256i mask = _mm256_set1_epi8(0x2f);
  const __m256i high = _mm256_and_si256(_mm256_srli_epi32(characters, 4), mask);
  const __m256i low = _mm256_and_si256(characters, mask);
  if (!_mm256_testz_si256(_mm256_shuffle_epi8(lowClasses, low),
                          _mm256_shuffle_epi8(highClasses, high)))
    return false;
  // By the upper half byte; '/' takes the entry before that of '+'.
  const __m256i distances = BothHalves(_mm_setr_epi8(0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A',
                                                     26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0));
  const __m256i isSlash = _mm256_cmpeq_epi8(characters, _mm256_set1_epi8('/'));  // -1 where true
  const __m256i distance = _mm256_shuffle_epi8(distances, _mm256_add_epi8(high, isSlash));
  characters = _mm256_add_epi8(characters, distance);
  return true;
}

/// 32 values of six bits become 24 bytes, at the beginning.
ZORVEX_AVX2 __m256i JoinValues(__m256i values) {
  const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
  const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
  const __m256i order =
      BothHalves(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
  return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(groups, order),
                                     _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
}

ZORVEX_AVX2 std::size_t DecodeAvx2(const char* text, std::size_t length, unsigned char* out) {
  std::size_t done = 0;
  for (; length - 4 * done >= 32; done += 8) {
    __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + 4 * done));
    if (!ToValues(block)) break;
    const __m256i bytes = JoinValues(block);
    unsigned char* place = out + 3 * done;
    // 24 bytes and no more: there may be no room behind them.
    _mm_storeu_si128(reinterpret_cast<__m128i*>(place), _mm256_castsi256_si128(bytes));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(place + 16), _mm256_extracti128_si256(bytes, 1));
  }
  return done;
}

}  // namespace

std::size_t Base64EncodeVectors(const unsigned char* bytes, std::size_t groups, char* out) {
  return kHasAvx2 ? EncodeAvx2(bytes, groups, out) : 0;
}

std::size_t Base64DecodeVectors(const char* text, std::size_t length, unsigned char* out) {
  return kHasAvx2 ? DecodeAvx2(text, length, out) : 0;
}

#else

std::size_t Base64EncodeVectors(const unsigned char*, std::size_t, char*) {
  return 0;
}

std::size_t Base64DecodeVectors(const char*, std::size_t, unsigned char*) {
  return 0;
}

#endif
