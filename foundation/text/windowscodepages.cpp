// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>
#include <iterator>

#include "foundation/text/codepages.h"
#include "foundation/text/iconvtext.h"

namespace {

struct WindowsCodePage {
  unsigned int number;
  const char* name;  // that iconv knows it by
};

// In order of their numbers. UTF-8, 65001, is not one of them: nothing is converted there.
constexpr WindowsCodePage kCodePages[] = {{37, "CP037"},
                                          {437, "CP437"},
                                          {500, "CP500"},
                                          {737, "CP737"},
                                          {775, "CP775"},
                                          {850, "CP850"},
                                          {852, "CP852"},
                                          {855, "CP855"},
                                          {857, "CP857"},
                                          {858, "CP858"},
                                          {860, "CP860"},
                                          {861, "CP861"},
                                          {862, "CP862"},
                                          {863, "CP863"},
                                          {864, "CP864"},
                                          {865, "CP865"},
                                          {866, "CP866"},
                                          {869, "CP869"},
                                          {874, "CP874"},
                                          {932, "CP932"},
                                          {936, "CP936"},
                                          {949, "CP949"},
                                          {950, "CP950"},
                                          {1200, "UTF-16LE"},
                                          {1201, "UTF-16BE"},
                                          {1250, "CP1250"},
                                          {1251, "CP1251"},
                                          {1252, "CP1252"},
                                          {1253, "CP1253"},
                                          {1254, "CP1254"},
                                          {1255, "CP1255"},
                                          {1256, "CP1256"},
                                          {1257, "CP1257"},
                                          {1258, "CP1258"},
                                          {1361, "CP1361"},
                                          {10000, "MACINTOSH"},
                                          {12000, "UTF-32LE"},
                                          {12001, "UTF-32BE"},
                                          {20127, "ASCII"},
                                          {20866, "KOI8-R"},
                                          {20932, "EUC-JP"},
                                          {20936, "EUC-CN"},
                                          {21866, "KOI8-U"},
                                          {28591, "ISO-8859-1"},
                                          {28592, "ISO-8859-2"},
                                          {28593, "ISO-8859-3"},
                                          {28594, "ISO-8859-4"},
                                          {28595, "ISO-8859-5"},
                                          {28596, "ISO-8859-6"},
                                          {28597, "ISO-8859-7"},
                                          {28598, "ISO-8859-8"},
                                          {28599, "ISO-8859-9"},
                                          {28600, "ISO-8859-10"},
                                          {28601, "ISO-8859-11"},
                                          {28603, "ISO-8859-13"},
                                          {28604, "ISO-8859-14"},
                                          {28605, "ISO-8859-15"},
                                          {28606, "ISO-8859-16"},
                                          {38598, "ISO-8859-8"},
                                          {50220, "ISO-2022-JP"},
                                          {50221, "ISO-2022-JP-3"},
                                          {50222, "ISO-2022-JP-3"},
                                          {50225, "ISO-2022-KR"},
                                          {50227, "ISO-2022-CN"},
                                          {51932, "EUC-JP"},
                                          {51936, "EUC-CN"},
                                          {51949, "EUC-KR"},
                                          {54936, "GB18030"},
                                          {65000, "UTF-7"}};

constexpr unsigned int kUtf8CodePage = 65001;
constexpr std::size_t kLimit = 260;  // of a result, with its terminator: deliberate, whatever n is

const char* NameOf(unsigned int codePage) {
  const auto* const found = std::lower_bound(
      std::begin(kCodePages), std::end(kCodePages), codePage,
      [](const WindowsCodePage& candidate, unsigned int n) { return candidate.number < n; });
  return found != std::end(kCodePages) && found->number == codePage ? found->name : nullptr;
}

void CopyCut(char* dest, const char* src, std::size_t size) {
  if (size == 0) return;
  const std::size_t length = src ? ::strnlen(src, size - 1) : 0;
  std::memmove(dest, src ? src : "", length);
  dest[length] = '\0';
}

// All of `count` bytes, terminated, or the empty text; returns the length. `dest` has 260 bytes.
std::size_t ConvertWhole(unsigned int codePage, char* dest, const char* src, std::size_t count) {
  const char* const name = NameOf(codePage);
  char* end = dest;
  if (name) {
    IconvConversion conversion("UTF-8", name);
    const auto room = [&] { return kLimit - 1 - static_cast<std::size_t>(end - dest); };
    const bool isWhole =
        conversion.Convert(end, room(), src, count) && conversion.Finish(end, room());
    if (!isWhole) end = dest;
  }
  *end = '\0';
  return static_cast<std::size_t>(end - dest);
}

}  // namespace

void LCopyFromSpecificCodePage(unsigned int codePage, char* dest, const char* src, std::size_t n) {
  if (codePage == kUtf8CodePage)
    CopyCut(dest, src, n);
  else
    ConvertWhole(codePage, dest, src, src ? ::strnlen(src, n) : 0);
}

std::size_t LCopyFromSpecificCodePage(unsigned int codePage, LStringLongTemplate<char>& dest,
                                      const LStringLongTemplate<char>& src) {
  const std::size_t size = 6 * src.Length() + 1;
  char result[kLimit];
  if (codePage != kUtf8CodePage) {
    const std::size_t length = ConvertWhole(codePage, result, src.Text(), src.Length());
    dest.SetLength(0);
    dest.GrowToSize(size);
    std::memcpy(dest.Buffer(), result, length);
    dest.SetLength(length);
  } else {
    dest.GrowToSize(size);
    CopyCut(dest.Buffer(), src.Text(), size);
    dest.SetLength(std::strlen(dest.Buffer()));
  }
  return dest.Length();
}

unsigned int LCopyToSpecificCodePage(unsigned int /*codePage*/, char* dest, const char* src,
                                     std::size_t n) {
  CopyCut(dest, src, n);
  return 0;
}
