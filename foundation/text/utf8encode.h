// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_UTF8ENCODE_H
#define ZORVEX_FOUNDATION_TEXT_UTF8ENCODE_H

#include <cstddef>

struct EncodedUtf8 {
  std::size_t length;  ///< bytes written
  bool isReplaced;     ///< U+FFFD stands for a value above U+10FFFF
};

/// UTF-8 of `count` units, each a code point by itself, cut to `room` bytes: not terminated, and
/// nothing is written behind them. Exists for `unsigned short` and `wchar_t`.
template <typename Unit>
EncodedUtf8 EncodeUtf8(char* dest, const Unit* src, std::size_t count, std::size_t room);

#endif  // ZORVEX_FOUNDATION_TEXT_UTF8ENCODE_H
