// SPDX-License-Identifier: MIT
// Every conversion stays inside buffers of just their size; what UTF-8 becomes is what a model
// makes of it character by character, and code pages are what iconv makes of them.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/text/charsets.h"
#include "foundation/text/codepages.h"
#include "tests/foundation/text/iconvoracle.h"

namespace {

using Byte = unsigned char;
using Long = LStringLongTemplate<char>;
using LongUnits = LStringLongTemplate<unsigned short>;

void Require(bool condition) {
  if (!condition) std::abort();
}

template <typename Unit>
std::vector<Unit> Exact(const std::basic_string<Unit>& text) {
  return {text.c_str(), text.c_str() + text.size() + 1};
}

unsigned int ModelDecode(const std::string& text, std::size_t size, std::wstring& out) {
  std::size_t place = 0;
  while (place < text.size()) {
    const auto first = static_cast<Byte>(text[place]);
    const std::size_t count = LGetUTF8CharacterByteCount(first);
    if (place + count >= size) return 1;
    if (place + count > text.size() || count > 4 || (first >= 0x80 && first < 0xC0)) return 2;
    std::uint32_t value = count == 1 ? first : first & (0x7FU >> count);
    for (std::size_t i = 1; i < count; ++i) {
      const auto next = static_cast<Byte>(text[place + i]);
      if (next < 0x80 || next > 0xBF) return 2;
      value = value * 64 + (next - 0x80U);
    }
    const std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < least[count] || value > 0x10FFFF || value - 0xD800 < 0x800) return 2;
    out += static_cast<wchar_t>(value);
    place += count;
  }
  return 0;
}

void CheckDecoding(const std::string& text, std::size_t size) {
  std::wstring model;
  const unsigned int result = ModelDecode(text, size, model);
  const std::vector<char> source = Exact(text);
  std::vector<wchar_t> wide(size);
  Require(LCopyUTF32FromUTF8(wide.data(), source.data(), size) == result && wide.data() == model);
  std::vector<unsigned short> units(size);
  LCopyUnicodeFromUTF8(units.data(), source.data(), size);
  for (std::size_t i = 0; i <= model.size(); ++i)
    Require(units[i] == static_cast<unsigned short>(model.c_str()[i]));
  std::vector<char> ansi(size);
  LCopyAnsiFromUTF8(ansi.data(), source.data(), size);
  const std::size_t length = std::strlen(ansi.data());
  Require(length == 0 || length <= model.size());
  std::vector<char> copy(size);
  Require(utf8strlcpy(copy.data(), source.data(), size) < size);
  Require(text.compare(0, std::strlen(copy.data()), copy.data()) == 0);
  const std::size_t count = utf8strlen(source.data());
  Require(LCharsetsUTF8CharIndexToByteIndex(source.data(), count) == text.size());
  Require(LCharsetsUTF8ByteIndexToCharIndex(source.data(), text.size()) == count);
}

void CheckEncoding(const std::wstring& text, std::size_t size) {
  const std::vector<wchar_t> source = Exact(text);
  std::vector<char> utf8(4 * text.size() + 1);
  const unsigned int result = LCopyUTF8FromUTF32(utf8.data(), source.data(), size);
  std::wstring replaced = text;
  for (wchar_t& c : replaced)
    if (static_cast<std::uint32_t>(c) > 0x10FFFF) c = 0xFFFD;
  Require(result == (replaced == text ? 0 : 2));
  if (std::none_of(text.begin(), text.end(), [](wchar_t c) { return c >= 0xD800 && c < 0xE000; })) {
    std::wstring back;
    Require(ModelDecode(utf8.data(), SIZE_MAX, back) == 0 && back == replaced);
  }
  std::vector<unsigned short> units(text.size() + 1);
  LCopyUnicodeFromUTF32(units.data(), source.data(), units.size());
  std::vector<char> cut(size);
  LCopyUTF8FromUnicode(cut.data(), units.data(), size);
  Long all;
  LCopyFromUnicode(all, units.data());
  Require(std::string(all.Text()).substr(0, size - 1) == cut.data());
  Long narrow;
  LCopyUTF8FromUnicode(narrow, LongUnits(units.data()));
  LCopyAnsiFromUnicode(narrow, units.data());
  std::vector<unsigned short> big(size + 1);
  LCopyToBigEndianUnicode(big.data(), units.data(), size, size % 2 == 0);
}

void CheckPage(const char* to, const char* from, void (*function)(char*, const char*, std::size_t),
               const std::string& text, std::size_t size) {
  const std::vector<char> source = Exact(text);
  std::vector<char> out(size, '?');
  function(out.data(), source.data(), size);
  std::string expected = Iconv(to, from, {source.data(), source.size()}, size);
  if (expected.size() < size) expected += '\0';
  Require(std::memcmp(out.data(), expected.data(), expected.size()) == 0);
}

void CheckPages(const std::string& text, std::size_t size) {
  CheckPage("UTF-8", "ISO-8859-1", LCopyFromISO88591, text, size);
  CheckPage("ISO-8859-1", "UTF-8", LCopyToISO88591, text, size);
  CheckPage("UTF-8", "WINDOWS-1252", LCopyFromWIN1252, text, size);
  CheckPage("WINDOWS-1252", "UTF-8", LCopyToWIN1252, text, size);
  CheckPage("UTF-8", "ISO-8859-5", LCopyFromISO88595, text, size);
  CheckPage("ISO-8859-5", "UTF-8", LCopyToISO88595, text, size);
  CheckPage("UTF-8", "KOI8-R", LCopyFromKOI8R, text, size);
  CheckPage("UTF-8", "SHIFT-JIS", LCopyFromSHIFTJIS932, text, size);
  CheckPage("ISO-2022-JP", "UTF-8", LCopyToISO2022JP, text, size);
  Long out;
  LCopyToISO2022JP(out, text.c_str());
  LCopyToGB18030(out, text.c_str());
  LCopyFromISO2022JP(out, text.c_str());
  LCopyFromEUCKR(out, text.c_str());
  const std::vector<char> part(text.begin(), text.end());  // no terminator
  std::vector<char> fixed(260);
  for (const unsigned int page : {932U, 1200U, 1252U, 1255U, 1258U, 50221U, 65000U})
    LCopyFromSpecificCodePage(page, fixed.data(), part.data(), part.size());
  LCopyFromSpecificCodePage(54936, out, Long(text.c_str()));
  std::vector<char> ansi(size);
  LCopyUTF8FromAnsi(ansi.data(), text.c_str(), size);
}

}  // namespace

/// Two bytes for the size of buffers, then the text, which is also taken for UTF-32.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t room = 1 + (data[0] + 256U * data[1]) % 600;
  const std::string bytes(reinterpret_cast<const char*>(data + 2), size - 2);
  const std::string text = bytes.c_str();
  CheckDecoding(text, room);
  if (data[1] % 8 == 0) CheckPages(text, room);  // iconv is slow
  std::wstring wide(bytes.size() / sizeof(wchar_t), 0);
  std::memcpy(wide.data(), bytes.data(), wide.size() * sizeof(wchar_t));
  CheckEncoding(wide.c_str(), room);
  return 0;
}
