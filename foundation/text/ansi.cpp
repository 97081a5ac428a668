// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

#include "foundation/text/charsets.h"
#include "foundation/text/unitlength.h"

namespace {

constexpr std::size_t kMostOnStack = 4096;

// UTF-16 on the way: no heap for buffers of a usual size.
class Scratch {
 public:
  explicit Scratch(std::size_t units)
      : heap_(units > kMostOnStack ? new unsigned short[units] : nullptr) {}
  unsigned short* Units() { return heap_ ? heap_.get() : stack_; }

 private:
  unsigned short stack_[kMostOnStack];
  std::unique_ptr<unsigned short[]> heap_;
};

// 0x80 to 0x9F of Windows-1252; 0 where it has no character.
constexpr unsigned short kWindows1252[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// All of a text with its terminator into `room` units, or the empty text.
void UnicodeFromWindows1252(unsigned short* dest, const char* src, std::size_t room) {
  const std::size_t length = src ? std::strlen(src) : 0;
  if (length >= room) {
    dest[0] = 0;
    return;
  }
  for (std::size_t i = 0; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(src[i]);
    const bool isOther = byte >= 0x80 && byte < 0xA0;
    dest[i] = isOther ? kWindows1252[byte - 0x80] : byte;
    if (dest[i] == 0) {
      dest[0] = 0;
      return;
    }
  }
  dest[length] = 0;
}

// All of a text, for which there is room, or the empty text. ISO-8859-1 is the first 256 code
// points. Returns the length.
std::size_t Iso88591FromUnicode(char* dest, const unsigned short* src) {
  std::size_t length = 0;
  for (; src && src[length] != 0; ++length) {
    if (src[length] > 0xFF) {
      length = 0;
      break;
    }
    dest[length] = static_cast<char>(src[length]);
  }
  dest[length] = '\0';
  return length;
}

}  // namespace

void LCopyAnsiFromUTF8(char* dest, const char* src, std::size_t size) {
  // Never more units than bytes; and with a size of 0 a terminator all the same.
  const std::size_t units = std::max<std::size_t>(size, 1);
  Scratch scratch(src ? std::min(::strnlen(src, size) + 1, units) : 1);
  LCopyUnicodeFromUTF8(scratch.Units(), src, units);
  Iso88591FromUnicode(dest, scratch.Units());
}

void LCopyUTF8FromAnsi(char* dest, const char* src, std::size_t size) {
  const std::size_t units = size / 2;
  Scratch scratch(src ? ::strnlen(src, units) + 1 : 1);
  UnicodeFromWindows1252(scratch.Units(), src, units);
  LCopyUTF8FromUnicode(dest, scratch.Units(), size);
}

std::size_t LCopyUnicodeFromAnsi(LStringLongTemplate<unsigned short>& dest,
                                 const LStringLongTemplate<char>& src) {
  const std::size_t size = src.Length() + 1;
  dest.SetLength(0);  // nothing of it need be kept
  dest.GrowToSize(size);
  // Bytes, not units: that is on purpose.
  UnicodeFromWindows1252(dest.Buffer(), src.Text(), size / 2);
  dest.SetLength(LengthUpTo(dest.Buffer(), size));
  return dest.Length();
}

std::size_t LCopyAnsiFromUnicode(LStringLongTemplate<char>& dest, const unsigned short* src) {
  dest.SetLength(0);  // nothing of it need be kept
  dest.GrowToSize(LengthUpTo(src, kNoLimit) + 1);
  dest.SetLength(Iso88591FromUnicode(dest.Buffer(), src));
  return dest.Length();
}

std::size_t LCopyAnsiFromUnicode(LStringLongTemplate<char>& dest,
                                 const LStringLongTemplate<unsigned short>& src) {
  return LCopyAnsiFromUnicode(dest, src.Text());
}
