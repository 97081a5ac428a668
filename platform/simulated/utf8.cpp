// SPDX-License-Identifier: MIT
#include "platform/simulated/utf8.h"

#include <cstddef>
#include <cstdint>

namespace {

/// The bytes of a character by its first byte; 0 for one that begins none.
std::size_t LengthFrom(unsigned char first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first < 0xE0) return 2;
  if (first >= 0xE0 && first < 0xF0) return 3;
  if (first >= 0xF0 && first < 0xF5) return 4;
  return 0;
}

bool IsPlainCharacter(std::uint32_t code, std::size_t length) {
  constexpr std::uint32_t kFirstOfLength[] = {0x20, 0xA0, 0x800, 0x10000};
  const bool isSurrogate = code >= 0xD800 && code < 0xE000;
  return code >= kFirstOfLength[length - 1] && code != 0x7F && !isSurrogate && code <= 0x10FFFF;
}

}  // namespace

bool IsPlainUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const auto first = static_cast<unsigned char>(text[at]);
    const std::size_t length = LengthFrom(first);
    if (length == 0 || length > text.size() - at) return false;
    std::uint32_t code = length == 1 ? first : first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
      const auto next = static_cast<unsigned char>(text[at + i]);
      if ((next & 0xC0) != 0x80) return false;
      code = code << 6 | (next & 0x3Fu);
    }
    if (!IsPlainCharacter(code, length)) return false;
    at += length;
  }
  return true;
}
