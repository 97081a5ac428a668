// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_FOUNDATION_TEXT_ICONVORACLE_H
#define ZORVEX_TESTS_FOUNDATION_TEXT_ICONVORACLE_H

#include <iconv.h>

#include <string>

/// What iconv itself makes of some bytes until it stops, in `room` bytes. With `isWhole`, which
/// tells whether it came to the end, also what it holds back there.
inline std::string Iconv(const char* to, const char* from, std::string bytes, std::size_t room,
                         bool* isWhole = nullptr) {
  std::string out(room, 0);
  const iconv_t descriptor = iconv_open(to, from);
  char* in = bytes.data();
  std::size_t count = bytes.size();
  char* place = out.data();
  bool isDone = iconv(descriptor, &in, &count, &place, &room) == 0;
  if (isDone && isWhole) isDone = iconv(descriptor, nullptr, nullptr, &place, &room) == 0;
  if (isWhole) *isWhole = isDone;
  iconv_close(descriptor);
  return out.substr(0, static_cast<std::size_t>(place - out.data()));
}

#endif  // ZORVEX_TESTS_FOUNDATION_TEXT_ICONVORACLE_H
