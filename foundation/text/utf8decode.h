// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_UTF8DECODE_H
#define ZORVEX_FOUNDATION_TEXT_UTF8DECODE_H

#include <cstddef>

struct DecodedUtf8 {
  std::size_t length;   ///< units in front of the terminator
  unsigned int result;  ///< as of LCopyUTF32FromUTF8Native
};

/// LCopyUTF32FromUTF8Native for units of any size, each cut to that. Exists for `unsigned short`
/// and `wchar_t`.
template <typename Unit>
DecodedUtf8 DecodeUtf8(Unit* dest, const char* src, std::size_t size);

#endif  // ZORVEX_FOUNDATION_TEXT_UTF8DECODE_H
