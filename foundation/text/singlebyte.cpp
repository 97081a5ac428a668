// SPDX-License-Identifier: MIT
#include "foundation/text/singlebyte.h"

#include <algorithm>
#include <cstring>

#include "foundation/text/asciiblock.h"
#include "foundation/text/charsets.h"
#include "foundation/text/iconvtext.h"

namespace {

unsigned char ByteOf(char c) {
  return static_cast<unsigned char>(c);
}

std::size_t Rest(const char* begin, const char* end) {
  return static_cast<std::size_t>(end - begin);
}

std::uint32_t Packed(const char* utf8, std::size_t count) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < count; ++i)
    value = value << 8 | ByteOf(utf8[i]);
  return value;
}

void CopyAsciiBlocks(TextSpans& spans) {
  while (std::min(Rest(spans.src, spans.srcEnd), Rest(spans.dest, spans.destEnd)) >= kAsciiBlock &&
         CopyAsciiBlock(spans.dest, spans.src)) {
    spans.src += kAsciiBlock;
    spans.dest += kAsciiBlock;
  }
}

}  // namespace

// Only what iconv converts back to the same byte is taken over.
SingleByteSet::SingleByteSet(const char* name) {
  IconvConversion decoder("UTF-8", name);
  IconvConversion encoder(name, "UTF-8");
  for (unsigned int value = 0; value < 256; ++value) {
    const char byte = static_cast<char>(value);
    char utf8[8];
    char* utf8End = utf8;
    if (!decoder.Convert(utf8End, sizeof utf8, &byte, 1)) continue;
    const std::size_t count = Rest(utf8, utf8End);
    char back = 0;
    char* backEnd = &back;
    if (count == 0 || count > 3 || !encoder.Convert(backEnd, 1, utf8, count)) continue;
    const bool isAsciiKept = value >= 0x80 || (count == 1 && utf8[0] == byte);
    if (back == byte && isAsciiKept) Add(ByteOf(byte), utf8, count);
  }
}

void SingleByteSet::Add(unsigned char byte, const char* utf8, std::size_t count) {
  Character& character = characters_[byte];
  std::memcpy(character.utf8, utf8, count);
  character.count = static_cast<unsigned char>(count);
  if (count > 1) slots_[Find(Packed(utf8, count))] = {Packed(utf8, count), byte};
}

std::size_t SingleByteSet::Find(std::uint32_t utf8) const {
  std::size_t place = utf8 * 0x9E3779B1U >> 23;
  while (slots_[place].utf8 != 0 && slots_[place].utf8 != utf8)
    place = (place + 1) % kSlots;
  return place;
}

bool SingleByteSet::ToUtf8(TextSpans& spans) const {
  while (spans.src != spans.srcEnd) {
    CopyAsciiBlocks(spans);
    if (spans.src == spans.srcEnd) break;
    const Character& character = characters_[ByteOf(*spans.src)];
    if (character.count == 0) return false;
    if (character.count > Rest(spans.dest, spans.destEnd)) break;
    std::memcpy(spans.dest, character.utf8, character.count);
    spans.dest += character.count;
    ++spans.src;
  }
  return true;
}

bool SingleByteSet::FromUtf8(TextSpans& spans) const {
  while (spans.src != spans.srcEnd) {
    CopyAsciiBlocks(spans);
    if (spans.src == spans.srcEnd) break;
    unsigned char byte = ByteOf(*spans.src);
    const std::size_t count = LGetUTF8CharacterByteCount(byte);
    if (byte < 0x80) {
      if (characters_[byte].count == 0) return false;
    } else {
      if (count < 2 || count > 3 || count > Rest(spans.src, spans.srcEnd)) return false;
      const Slot& slot = slots_[Find(Packed(spans.src, count))];
      if (slot.utf8 == 0) return false;
      byte = slot.byte;
    }
    if (spans.dest == spans.destEnd) break;
    *spans.dest++ = static_cast<char>(byte);
    spans.src += count;
  }
  return true;
}
