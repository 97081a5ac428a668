// SPDX-License-Identifier: MIT
#include <cstring>

#include "foundation/text/charsets.h"

namespace {

// Whether a character could be passed over; `place` then stands behind it, or on the terminator
// that cuts it short.
bool PassCharacter(const char*& place) {
  if (*place == '\0') return false;
  const char* const next = place + LGetUTF8CharacterByteCount(static_cast<unsigned char>(*place));
  do
    ++place;
  while (place != next && *place != '\0');
  return true;
}

const char* TextOf(const char* text) {
  return text ? text : "";
}

std::size_t Distance(const char* begin, const char* end) {
  return static_cast<std::size_t>(end - begin);
}

}  // namespace

std::size_t LGetUTF8CharacterByteCount(unsigned char lead) {
  if (lead < 0xC0) return 1;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  if (lead < 0xF8) return 4;
  return lead < 0xFC ? 5 : 6;
}

std::size_t utf8strlen(const char* text) {
  std::size_t count = 0;
  for (const char* place = TextOf(text); PassCharacter(place);)
    ++count;
  return count;
}

std::size_t LCharsetsUTF8CharIndexToByteIndex(const char* text, std::size_t charIndex) {
  const char* place = TextOf(text);
  const char* const begin = place;
  while (charIndex > 0 && PassCharacter(place))
    --charIndex;
  return Distance(begin, place);
}

std::size_t LCharsetsUTF8ByteIndexToCharIndex(const char* text, std::size_t byteIndex) {
  const char* place = TextOf(text);
  const char* const begin = place;
  std::size_t count = 0;
  while (Distance(begin, place) < byteIndex && PassCharacter(place))
    ++count;
  return count;
}

std::size_t utf8strlcpy(char* dest, const char* src, std::size_t size) {
  const char* const begin = TextOf(src);
  const char* place = begin;
  for (const char* next = begin; PassCharacter(next); place = next) {
    const std::size_t count = LGetUTF8CharacterByteCount(static_cast<unsigned char>(*place));
    const bool isWhole = Distance(place, next) == count;
    if (!isWhole || Distance(begin, next) >= size) break;
  }
  const std::size_t length = Distance(begin, place);
  std::memmove(dest, begin, length);
  dest[length] = '\0';
  return length;
}

std::size_t LGetUTF8CharacterByteIndex(const char* place) {
  std::size_t count = 0;
  while ((static_cast<unsigned char>(*place) & 0xC0) == 0x80) {
    --place;
    ++count;
  }
  return count;
}

bool LCharsetsIsValidASCII(const char* text) {
  for (const char* place = TextOf(text); *place != '\0'; ++place)
    if (static_cast<unsigned char>(*place) >= 0x80) return false;
  return true;
}
