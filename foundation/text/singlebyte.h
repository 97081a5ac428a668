// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_SINGLEBYTE_H
#define ZORVEX_FOUNDATION_TEXT_SINGLEBYTE_H

#include <cstddef>
#include <cstdint>

/// A conversion on its way: what is left of both texts.
struct TextSpans {
  char* dest;
  char* destEnd;
  const char* src;
  const char* srcEnd;
};

/// A character set of one byte for each character, as iconv has it, in tables: many times faster.
/// What iconv does with anything but the set's own characters is left to iconv. Once made, any
/// thread may use it.
class SingleByteSet {
 public:
  /// Empty, so that everything is left to iconv, where iconv does not have the set.
  explicit SingleByteSet(const char* name);

  /// Converts as far as there is room, or up to a character that iconv is to decide about: false
  /// then.
  bool ToUtf8(TextSpans& spans) const;
  bool FromUtf8(TextSpans& spans) const;

 private:
  struct Character {
    char utf8[3];
    unsigned char count;  // of its bytes; 0 when there is no such character
  };
  struct Slot {
    std::uint32_t utf8;  // its bytes, the first one highest
    unsigned char byte;
  };

  static constexpr std::size_t kSlots = 512;  // at most half of them are taken

  void Add(unsigned char byte, const char* utf8, std::size_t count);
  std::size_t Find(std::uint32_t utf8) const;

  Character characters_[256] = {};
  Slot slots_[kSlots] = {};  // by their UTF-8; those of 0 are free
};

#endif  // ZORVEX_FOUNDATION_TEXT_SINGLEBYTE_H
