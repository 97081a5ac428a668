// SPDX-License-Identifier: MIT
#include "foundation/text/utf8encode.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "foundation/text/asciiblock.h"
#include "foundation/text/utf8block.h"

namespace {

constexpr std::uint32_t kLast = 0x10FFFF;
constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::size_t kMost = 4;  // bytes of a character

// Returns the number of bytes. What a text begins with is mostly what it goes on with, so here
// branches are the fastest.
std::size_t EncodeCharacter(char* dest, std::uint32_t value) {
  if (value < 0x80) {
    dest[0] = static_cast<char>(value);
    return 1;
  }
  const std::size_t more = value < 0x800 ? 1 : value < 0x10000 ? 2 : 3;
  constexpr unsigned int kMark[kMost] = {0, 0xC0, 0xE0, 0xF0};
  dest[0] = static_cast<char>(kMark[more] | value >> 6 * more);
  for (std::size_t i = 1; i <= more; ++i)
    dest[i] = static_cast<char>(0x80 | (value >> 6 * (more - i) & 0x3F));
  return 1 + more;
}

std::uint32_t CodePoint(unsigned short unit, bool&) {
  return unit;
}

std::uint32_t CodePoint(wchar_t unit, bool& isReplaced) {
  // NOLINTNEXTLINE(bugprone-signed-char-misuse): as it is for a code point
  const auto value = static_cast<std::uint32_t>(unit);
  isReplaced |= value > kLast;
  return value > kLast ? kReplacement : value;
}

// The next units of many. Up to three bytes behind what it returns are written too.
template <typename Unit>
char* EncodeBlock(char* dest, const Unit* src, bool& isReplaced) {
  if (NarrowAsciiBlock(dest, src)) return dest + kAsciiBlock;
  for (std::size_t i = 0; i < kAsciiBlock; i += kEncodedBlock) {
    if (char* const end = EncodeCommonUnits(dest, src + i)) {
      dest = end;
      continue;
    }
    for (std::size_t j = i; j < i + kEncodedBlock; ++j)
      dest += EncodeCharacter(dest, CodePoint(src[j], isReplaced));
  }
  return dest;
}

}  // namespace

template <typename Unit>
EncodedUtf8 EncodeUtf8(char* dest, const Unit* src, std::size_t count, std::size_t room) {
  EncodedUtf8 done = {0, false};
  const Unit* const end = src + count;
  // With three more units behind a block, what is written behind its last character lies in front
  // of the end of what is written anyway.
  while (static_cast<std::size_t>(end - src) >= kAsciiBlock + 3 &&
         room - done.length >= kMost * (kAsciiBlock + 1)) {
    char* const out = EncodeBlock(dest + done.length, src, done.isReplaced);
    done.length = static_cast<std::size_t>(out - dest);
    src += kAsciiBlock;
  }
  for (; src != end && room - done.length >= kMost; ++src)
    done.length += EncodeCharacter(dest + done.length, CodePoint(*src, done.isReplaced));
  for (; src != end && done.length < room; ++src) {
    char bytes[kMost];
    const std::size_t length = EncodeCharacter(bytes, CodePoint(*src, done.isReplaced));
    const std::size_t fitting = std::min(length, room - done.length);
    std::memcpy(dest + done.length, bytes, fitting);
    done.length += fitting;
  }
  return done;
}

template EncodedUtf8 EncodeUtf8(char* dest, const unsigned short* src, std::size_t count,
                                std::size_t room);
template EncodedUtf8 EncodeUtf8(char* dest, const wchar_t* src, std::size_t count,
                                std::size_t room);
