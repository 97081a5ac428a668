// SPDX-License-Identifier: MIT
#include "foundation/text/iconvtext.h"

#include <cstdint>

namespace {

bool IsOpen(iconv_t descriptor) {
  return reinterpret_cast<std::intptr_t>(descriptor) != -1;
}

}  // namespace

IconvConversion::IconvConversion(const char* toName, const char* fromName)
    : descriptor_(iconv_open(toName, fromName)) {}

IconvConversion::~IconvConversion() {
  if (IsOpen(descriptor_)) iconv_close(descriptor_);
}

bool IconvConversion::Convert(char*& dest, std::size_t room, const char* src, std::size_t count) {
  char* rest = const_cast<char*>(src);  // iconv does not write there
  return Call(dest, room, &rest, &count);
}

bool IconvConversion::Finish(char*& dest, std::size_t room) {
  return Call(dest, room, nullptr, nullptr);
}

bool IconvConversion::Call(char*& dest, std::size_t room, char** src, std::size_t* count) {
  if (!IsOpen(descriptor_)) return false;
  return iconv(descriptor_, src, count, &dest, &room) != static_cast<std::size_t>(-1);
}
