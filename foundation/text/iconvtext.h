// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_ICONVTEXT_H
#define ZORVEX_FOUNDATION_TEXT_ICONVTEXT_H

#include <iconv.h>

#include <cstddef>

/// One conversion between two character sets, by the names that iconv knows them by. Without an
/// open descriptor, because there is no such set, it converts nothing.
class IconvConversion {
 public:
  IconvConversion(const char* toName, const char* fromName);
  ~IconvConversion();
  IconvConversion(const IconvConversion&) = delete;
  IconvConversion& operator=(const IconvConversion&) = delete;

  /// Converts the next `count` bytes into at most `room` and moves `dest` behind them. False when
  /// it stopped before the end.
  bool Convert(char*& dest, std::size_t room, const char* src, std::size_t count);

  /// Writes what the last characters are held back for: others may have joined them.
  bool Finish(char*& dest, std::size_t room);

 private:
  bool Call(char*& dest, std::size_t room, char** src, std::size_t* count);

  iconv_t descriptor_;
};

#endif  // ZORVEX_FOUNDATION_TEXT_ICONVTEXT_H
