// SPDX-License-Identifier: MIT
#include "foundation/text/utf8decode.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "foundation/text/asciiblock.h"
#include "foundation/text/charsets.h"
#include "foundation/text/utf8block.h"

// Long texts are decoded in blocks of 64 bytes. Where the characters of a block begin is known
// beforehand, so they need not wait for each other, and a decoder without branches costs the same
// whatever scripts are mixed: mispredicted branches are what makes a plain loop slow. A block that
// is not valid is left to the plain loop, which finds out where it goes wrong.

namespace {

using Byte = unsigned char;

// What a character of a number of bytes looks like, with its bytes in the upper end of 32 bits.
struct Shape {
  std::uint32_t markMask, mark;  // the bits of the first byte that say how many there are
  std::uint32_t valueMask;
  int shift;                  // what the groups of six bits that it does not have make too much
  std::uint32_t least, span;  // first value that needs so many bytes; how many more there are
};

constexpr Shape kNoShape = {~0U, 0, 0, 0, ~0U, 0};
constexpr Shape kShapes[8] = {kNoShape,
                              {0x80000000, 0x00000000, 0x7F000000, 18, 0x0, 0x7F},
                              {0xE0000000, 0xC0000000, 0x1F3F0000, 12, 0x80, 0x7FF - 0x80},
                              {0xF0000000, 0xE0000000, 0x0F3F3F00, 6, 0x800, 0xFFFF - 0x800},
                              {0xF8000000, 0xF0000000, 0x073F3F3F, 0, 0x10000, 0x10FFFF - 0x10000},
                              kNoShape,
                              kNoShape,
                              kNoShape};

std::uint32_t LoadBigEndian(const Byte* src) {
  return static_cast<std::uint32_t>(src[0]) << 24 | static_cast<std::uint32_t>(src[1]) << 16 |
         static_cast<std::uint32_t>(src[2]) << 8 | src[3];
}

// Moves the groups of six bits of four bytes together.
std::uint32_t JoinGroups(std::uint32_t bytes) {
  const std::uint32_t pairs = (bytes & 0x003F003F) | (bytes & 0x7F003F00) >> 2;
  return (pairs & 0xFFF) | pairs >> 16 << 12;
}

// Decodes the character at `src`, of which `count` bytes come before the next one begins. Reads 4
// bytes. `error` becomes other than 0 when it is not valid.
std::uint32_t DecodeBetweenStarts(const Byte* src, unsigned int count, std::uint32_t& error) {
  const Shape& shape = kShapes[count % 8];
  const std::uint32_t bytes = LoadBigEndian(src);
  const std::uint32_t value = JoinGroups(bytes & shape.valueMask) >> shape.shift;
  error |= count / 8;
  error |= (bytes & shape.markMask) ^ shape.mark;
  error |= static_cast<std::uint32_t>(value - shape.least > shape.span);
  error |= static_cast<std::uint32_t>(value - 0xD800 < 0x800);
  return value;
}

constexpr std::size_t kReadByBlock = kStartsBlock + 3;

// Decodes the characters of a block but the last one, whose end is not in it. False when one is not
// valid; `src` and `dest` are then as they were.
template <typename Unit>
bool DecodeBlock(const Byte*& src, Unit*& dest) {
  std::uint64_t starts = CharacterStarts(src);
  std::uint32_t error = static_cast<std::uint32_t>(~starts & 1);
  starts &= starts - 1;
  Unit* out = dest;
  unsigned int place = 0;
  for (; starts != 0; starts &= starts - 1) {
    const auto next = static_cast<unsigned int>(std::countr_zero(starts));
    *out++ = static_cast<Unit>(DecodeBetweenStarts(src + place, next - place, error));
    place = next;
  }
  if (error != 0 || place == 0) return false;
  src += place;
  dest = out;
  return true;
}

// As much as can be decoded by blocks of what ends at `end`.
template <typename Unit>
void DecodeBlocks(const Byte*& src, const Byte* end, Unit*& dest) {
  const auto rest = [&] { return static_cast<std::size_t>(end - src); };
  for (;;) {
    while (rest() >= kAsciiBlock && WidenAsciiBlock(dest, src)) {
      src += kAsciiBlock;
      dest += kAsciiBlock;
    }
    if (rest() < kReadByBlock) return;
    const std::size_t decoded = DecodeCommonBlock(dest, src);
    src += decoded;
    if (decoded == 0 && !DecodeBlock(src, dest)) return;
  }
}

bool IsContinuation(Byte byte) {
  return (byte & 0xC0) == 0x80;
}

// What the second byte may be depends on the first one where that alone would allow a form that is
// too long, a surrogate or a value above U+10FFFF. So none of these is ever decoded, and nothing
// need be replaced.
bool IsSecondByte(Byte first, Byte second) {
  switch (first) {
    case 0xE0:
      return second >= 0xA0 && second <= 0xBF;
    case 0xED:
      return second >= 0x80 && second <= 0x9F;
    case 0xF0:
      return second >= 0x90 && second <= 0xBF;
    case 0xF4:
      return second >= 0x80 && second <= 0x8F;
    default:
      return IsContinuation(second);
  }
}

// The bytes are looked at in turn, so that a terminator is not passed over.
bool DecodeCharacter(const Byte* src, std::size_t count, std::uint32_t& value) {
  if (src[0] < 0xC2 || src[0] > 0xF4 || !IsSecondByte(src[0], src[1])) return false;
  value = (src[0] & (0x7FU >> count)) << 6 | (src[1] & 0x3FU);
  for (std::size_t i = 2; i < count; ++i) {
    if (!IsContinuation(src[i])) return false;
    value = value << 6 | (src[i] & 0x3FU);
  }
  return true;
}

}  // namespace

template <typename Unit>
DecodedUtf8 DecodeUtf8(Unit* dest, const char* src, std::size_t size) {
  const auto* const begin = reinterpret_cast<const Byte*>(src ? src : "");
  Unit* out = dest;
  const auto finish = [&](unsigned int result) {
    *out = 0;
    return DecodedUtf8{static_cast<std::size_t>(out - dest), result};
  };
  if (size == 0) return finish(*begin == 0 ? kUtfComplete : kUtfCut);
  const Byte* const end = begin + ::strnlen(reinterpret_cast<const char*>(begin), size);
  const Byte* const whole = std::min(end, begin + (size - 1));  // of what ends here, nothing is cut
  const Byte* place = begin;
  DecodeBlocks(place, whole, out);
  for (;;) {
    while (place < whole && *place < 0x80)
      *out++ = static_cast<Unit>(*place++);
    if (place == end) return finish(kUtfComplete);
    const std::size_t count = LGetUTF8CharacterByteCount(*place);
    if (static_cast<std::size_t>(place - begin) + count >= size) return finish(kUtfCut);
    std::uint32_t value = 0;
    if (!DecodeCharacter(place, count, value)) return finish(kUtfInvalid);
    *out++ = static_cast<Unit>(value);
    place += count;
  }
}

template DecodedUtf8 DecodeUtf8(unsigned short* dest, const char* src, std::size_t size);
template DecodedUtf8 DecodeUtf8(wchar_t* dest, const char* src, std::size_t size);
