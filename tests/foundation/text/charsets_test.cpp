// SPDX-License-Identifier: MIT
#include "foundation/text/charsets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <cwchar>
#include <random>
#include <string>
#include <vector>

#include "foundation/text/codepages.h"
#include "tests/foundation/text/iconvoracle.h"

namespace {

using Long = LStringLongTemplate<char>;
using LongUnits = LStringLongTemplate<unsigned short>;
using Units = std::basic_string<unsigned short>;

std::string Bytes(const std::wstring& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

std::string Encoded(const std::wstring& text) {
  std::vector<char> out(4 * text.size() + 1, '?');
  EXPECT_EQ(LCopyUTF8FromUTF32(out.data(), text.c_str(), 0), 0U);
  return out.data();
}

Units Narrowed(const std::wstring& text) {
  Units units;
  for (const wchar_t c : text)
    units += static_cast<unsigned short>(c);
  return units;
}

/// Into a buffer of just the size, so that the sanitizer sees what goes beyond it.
template <typename Unit, typename Source>
std::basic_string<Unit> Sized(void (*function)(Unit*, const Source*, std::size_t),
                              const std::basic_string<Source>& source, std::size_t size) {
  std::vector<Unit> out(size, Unit{'?'});
  std::vector<Source> exact(source.c_str(), source.c_str() + source.size() + 1);
  function(out.data(), exact.data(), size);
  const auto end = std::find(out.begin(), out.end(), 0);
  return {out.begin(), end};
}

/// A text of several scripts in words, as they are in texts.
std::wstring RandomText(std::mt19937& random, std::size_t length) {
  const std::pair<wchar_t, wchar_t> scripts[] = {
      {0x20, 0x7F},     {0xC0, 0x800},    {0x800, 0x1000},    {0x4E00, 0x9FFF},
      {0xD000, 0xD7FF}, {0xE000, 0xFFFF}, {0x10000, 0x10FFFF}};
  std::wstring text;
  while (text.size() < length) {
    const auto [first, last] = scripts[random() % 8 % 7];
    for (auto count = random() % 24; count > 0; --count)
      text += first + static_cast<wchar_t>(random() % static_cast<unsigned int>(last - first + 1));
  }
  return text.substr(0, length);
}

TEST(CharsetsTest, EveryCodePointIsWhatIconvMakesOfIt) {
  std::wstring all;
  for (wchar_t c = 1; c <= 0x10FFFF; ++c)
    if (c < 0xD800 || c > 0xDFFF) all += c;
  const std::string utf8 = Encoded(all);
  EXPECT_TRUE(utf8 == Iconv("UTF-8", "UTF-32LE", Bytes(all), 5 * all.size()));
  std::wstring decoded(utf8.size() + 1, 0);
  EXPECT_EQ(LCopyUTF32FromUTF8(decoded.data(), utf8.c_str(), decoded.size()), 0U);
  EXPECT_TRUE(decoded.c_str() == all);
  std::vector<unsigned short> units(utf8.size() + 1);
  LCopyUnicodeFromUTF8(units.data(), utf8.c_str(), units.size());
  EXPECT_TRUE(Units(units.data(), all.size()) == Narrowed(all));
  // Each by itself, where no vector code is; and what is no code point.
  for (wchar_t c = 1; c <= 0x110010; ++c) {
    const wchar_t text[] = {c, 0};
    char bytes[5];
    wchar_t back[5] = {};
    const bool isValid = c <= 0x10FFFF;
    ASSERT_EQ(LCopyUTF8FromUTF32Native(bytes, text, 5), isValid ? 0U : 2U);
    const bool isSurrogate = c >= 0xD800 && c <= 0xDFFF;
    ASSERT_EQ(LCopyUTF32FromUTF8Native(back, bytes, 5), isSurrogate ? 2U : 0U);
    ASSERT_EQ(back[0], isSurrogate ? 0 : isValid ? c : 0xFFFD) << static_cast<int>(c);
  }
  const wchar_t negative[] = {WCHAR_MIN, 0};
  char bytes[5];
  EXPECT_EQ(LCopyUTF8FromUTF32(bytes, negative, 5), 2U);
}

TEST(CharsetsTest, DecodesUpToWhereIconvStops) {
  std::mt19937 random(1);
  for (int i = 0; i < 3000; ++i) {
    std::string utf8 = Encoded(RandomText(random, random() % 150));
    for (auto faults = random() % 3; faults > 0 && !utf8.empty(); --faults)
      utf8[random() % utf8.size()] =
          "\x7F\x80\xA0\xBF\xC0\xC2\xE0\xED\xEF\xF0\xF4\xF8"[random() % 12];
    bool isValid = true;
    const std::string expected = Iconv("UTF-32LE", "UTF-8", utf8, 4 * utf8.size() + 4, &isValid);
    std::vector<char> exact(utf8.c_str(), utf8.c_str() + utf8.size() + 1);
    std::vector<wchar_t> out(utf8.size() + 7);
    EXPECT_EQ(LCopyUTF32FromUTF8(out.data(), exact.data(), out.size()), isValid ? 0U : 2U);
    const std::wstring text = out.data();
    ASSERT_EQ(Bytes(text), expected);
    // Any size cuts at the character with which as many bytes would be read.
    const std::size_t size = 1 + random() % (utf8.size() + 1);
    std::size_t whole = 0;
    std::size_t read = 0;
    for (; whole < text.size(); ++whole)
      if ((read += Encoded({text[whole]}).size()) >= size) break;
    std::vector<wchar_t> cut(size);
    const unsigned int result = LCopyUTF32FromUTF8(cut.data(), exact.data(), size);
    ASSERT_EQ(cut.data(), text.substr(0, whole)) << size;
    EXPECT_TRUE(whole == text.size() || result == 1U);
    EXPECT_EQ(Sized(LCopyUnicodeFromUTF8, utf8, size),
              Narrowed(text.substr(0, whole)).c_str());  // ends at a unit cut to 0
  }
}

TEST(CharsetsTest, EncodesUnitsUpToAnyByte) {
  std::mt19937 random(2);
  for (int i = 0; i < 2000; ++i) {
    std::wstring text = RandomText(random, random() % (i % 50 == 0 ? 9000 : 120));
    for (wchar_t& c : text)
      c = (c & 0xFFFF) == 0 ? 0xD83D : c & 0xFFFF;  // lone surrogates are units like others
    const std::string utf8 = Encoded(text);
    const std::size_t size = 1 + random() % (utf8.size() + 20);
    EXPECT_EQ(Sized(LCopyUTF8FromUnicode, Narrowed(text), size), utf8.substr(0, size - 1));
    EXPECT_EQ(Sized(LCopyUTF32FromUnicode, Narrowed(text), size), text.substr(0, size - 1));
    EXPECT_EQ(Sized(LCopyUnicodeFromUTF32, text, size), Narrowed(text.substr(0, size - 1)));
    Long full = "before";
    EXPECT_EQ(LCopyFromUnicode(full, Narrowed(text).c_str()), utf8.size());
    EXPECT_EQ(full.Text(), utf8);
    EXPECT_EQ(full.Capacity(), std::max<std::size_t>(7, 6 * text.size() + 1));
    EXPECT_EQ(LCopyUTF8FromUnicode(full, LongUnits(Narrowed(text).c_str())),
              std::min(utf8.size(), text.size()));
    EXPECT_EQ(full.Text(), utf8.substr(0, text.size())) << "cut at as many bytes as units";
  }
}

TEST(CharsetsTest, KeepsTheLimitsOfEachForm) {
  const struct {
    std::string utf8;
    std::size_t size;
    unsigned int result;
    std::wstring text;
  } rows[] = {{"", 1, 0, L""},
              {"", 0, 0, L""},
              {"x", 0, 1, L""},
              {"a\xC0\x80", 9, 2, L"a"},
              {"abc", 3, 1, L"ab"},
              {"abc", 4, 0, L"abc"},
              {"a\xF0\x9F\x98\x80", 5, 1, L"a"},
              {"a\xF0\x9F\x98\x80", 6, 0, L"a\U0001F600"},
              {"a\xE2", 4, 1, L"a"},  // the size counts before the bytes are looked at
              {"a\xE2", 5, 2, L"a"},
              {"a\xFC", 9, 2, L"a"}};
  for (const auto& row : rows) {
    std::vector<wchar_t> out(std::max<std::size_t>(row.size, 1), '?');
    EXPECT_EQ(LCopyUTF32FromUTF8(out.data(), row.utf8.c_str(), row.size), row.result) << row.utf8;
    EXPECT_EQ(out.data(), row.text) << row.utf8;
  }
  const Units pair = {0xD83D, 0xDE00};
  EXPECT_EQ(Sized(LCopyUTF8FromUnicode, pair, 9), "\xED\xA0\xBD\xED\xB8\x80");
  EXPECT_EQ(Sized(LCopyUnicodeFromUTF8, std::string("\xF0\x9F\x98\x80"), 9), Units{0xF600});
  unsigned short units[260];
  char bytes[260];
  for (const std::size_t length : {3, 259, 260, 300}) {
    std::memset(bytes, '?', sizeof bytes);
    LCopyUnicodeFromUTF8(units, std::string(length, 'x').c_str());
    EXPECT_EQ(Units(units), Units(std::min<std::size_t>(length, 259), 'x'));
    LCopyUTF8FromUnicode(bytes, Units(length, 0xE9).c_str());
    EXPECT_EQ(std::strlen(bytes), std::min<std::size_t>(2 * length, 259));
    EXPECT_EQ(bytes[259], 0);
  }
  LongUnits wide = Units{1}.c_str();
  EXPECT_EQ(LCopyUnicodeFromUTF8(wide, Long("a\xF0\x90\x80\x80z")), 1U) << "a unit of 0";
  EXPECT_EQ(LCopyUnicodeFromUTF8(wide, Long()), 0U);
  Long narrow = "x";
  EXPECT_EQ(LCopyUTF8FromUnicode(narrow, LongUnits()) + LCopyFromUnicode(narrow, nullptr), 0U);
  EXPECT_STREQ(narrow.Text(), "");
}

TEST(CharsetsTest, BigEndianIsFilledOrTerminated) {
  const Units text = {'A', 0x1234};
  const struct {
    std::size_t count;
    bool terminate;
    std::size_t result;
    Units out;
  } rows[] = {{3, false, 3, {0x4100, 0x3412, 0x2000, '?'}},
              {2, false, 2, {0x4100, 0x3412, '?', '?'}},
              {3, true, 2, {0x4100, 0x3412, 0, '?'}},
              {1, true, 1, {0x4100, 0, '?', '?'}},
              {0, true, 0, {0, '?', '?', '?'}},
              {0, false, 0, {'?', '?', '?', '?'}}};
  for (const auto& row : rows) {
    Units out(4, '?');
    EXPECT_EQ(LCopyToBigEndianUnicode(out.data(), text.c_str(), row.count, row.terminate),
              row.result);
    EXPECT_EQ(out, row.out) << row.count << row.terminate;
  }
}

TEST(CharsetsTest, AnsiIsReadAsOneSetAndWrittenAsAnother) {
  for (unsigned int c = 1; c < 256; ++c) {
    const std::string byte(1, static_cast<char>(c));
    EXPECT_EQ(Sized(LCopyUTF8FromAnsi, byte, 8), Iconv("UTF-8", "WINDOWS-1252", byte, 8)) << c;
    const std::string utf8 = Encoded({static_cast<wchar_t>(c)});
    EXPECT_EQ(Sized(LCopyAnsiFromUTF8, utf8, 8), byte);
  }
  for (const char* text : {"a\xE2\x82\xAC", "\xC4\x80", "a\xEF\xBF\xBD"})
    EXPECT_EQ(Sized(LCopyAnsiFromUTF8, std::string(text), 9), "") << "all or nothing";
  EXPECT_EQ(Sized(LCopyAnsiFromUTF8, std::string("ab\xC3\xA9\xFF"), 9), "ab\xE9");
  EXPECT_EQ(Sized(LCopyAnsiFromUTF8, std::string("abcdef"), 4), "abc");
  EXPECT_EQ(Sized(LCopyAnsiFromUTF8, std::string("a\xF0\x90\x81\x81"), 9), "aA") << "16 bits";
  for (const std::size_t size : {2, 4, 4096, 4098, 9000}) {
    const std::size_t fits = size / 2 - 1;
    EXPECT_EQ(Sized(LCopyUTF8FromAnsi, std::string(fits, 'x'), size), std::string(fits, 'x'));
    EXPECT_EQ(Sized(LCopyUTF8FromAnsi, std::string(fits + 1, 'x'), size), "");
    EXPECT_EQ(Sized(LCopyUTF8FromAnsi, std::string(fits, '\x80'), size).size(),
              std::min(3 * fits, size - 1));
    EXPECT_EQ(Sized(LCopyAnsiFromUTF8, std::string(size, 'x'), size).size(), size - 1);
  }
  char none = '?';
  LCopyUTF8FromAnsi(&none, "x", 0);
  EXPECT_EQ(none, '?');
  LCopyAnsiFromUTF8(&none, "x", 0);
  EXPECT_EQ(none, 0);
  LongUnits wide = Units{1}.c_str();
  EXPECT_EQ(LCopyUnicodeFromAnsi(wide, Long("A")), 0U) << "two units do not fit into two bytes";
  Long narrow = "before";
  EXPECT_EQ(LCopyAnsiFromUnicode(narrow, LongUnits(Units{'a', 0xFF}.c_str())), 2U);
  EXPECT_STREQ(narrow.Text(), "a\xFF");
  EXPECT_EQ(LCopyAnsiFromUnicode(narrow, Units{'a', 0x100}.c_str()), 0U);
}

TEST(CharsetsTest, CountsByFirstBytes) {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
  const std::size_t starts[] = {0, 1, 3, 6, 10, 11};
  EXPECT_EQ(utf8strlen(text.c_str()), 5U);
  for (std::size_t i = 0; i < 8; ++i)
    EXPECT_EQ(LCharsetsUTF8CharIndexToByteIndex(text.c_str(), i),
              starts[std::min<std::size_t>(i, 5)]);
  for (std::size_t b = 0; b < 14; ++b) {
    const auto* const cover =
        std::lower_bound(starts, std::end(starts), std::min<std::size_t>(b, 11));
    EXPECT_EQ(LCharsetsUTF8ByteIndexToCharIndex(text.c_str(), b),
              static_cast<std::size_t>(cover - starts));
    if (b < 11) {
      const auto* const start = std::upper_bound(starts, std::end(starts), b) - 1;
      EXPECT_EQ(LGetUTF8CharacterByteIndex(text.c_str() + b), b - *start);
    }
    std::vector<char> out(std::max<std::size_t>(b, 1), '?');
    const auto* const fits = std::upper_bound(starts, std::end(starts), b > 0 ? b - 1 : 0) - 1;
    EXPECT_EQ(utf8strlcpy(out.data(), text.c_str(), b), *fits);
    EXPECT_EQ(out.data(), text.substr(0, *fits));
  }
  for (const char* cut : {"a\xC3", "a\xF0\x9F\x98", "a\xFF"}) {
    const std::string exact = cut;
    EXPECT_EQ(utf8strlen(exact.c_str()), 2U);
    EXPECT_EQ(LCharsetsUTF8CharIndexToByteIndex(exact.c_str(), 9), exact.size());
    char out[9];
    EXPECT_EQ(utf8strlcpy(out, exact.c_str(), sizeof out), 1U);
    EXPECT_STREQ(out, "a") << "whole characters only";
  }
  EXPECT_EQ(utf8strlen("\x80\xBF"
                       "a"),
            3U)
      << "counted, not checked";
  const std::pair<unsigned char, std::size_t> counts[] = {
      {0, 1},    {0xBF, 1}, {0xC0, 2}, {0xDF, 2}, {0xE0, 3}, {0xEF, 3},
      {0xF0, 4}, {0xF7, 4}, {0xF8, 5}, {0xFB, 5}, {0xFC, 6}, {0xFF, 6}};
  for (const auto& [lead, count] : counts)
    EXPECT_EQ(LGetUTF8CharacterByteCount(lead), count) << int{lead};
  EXPECT_TRUE(LCharsetsIsValidASCII("") && LCharsetsIsValidASCII("\x01\x7F"));
  EXPECT_FALSE(LCharsetsIsValidASCII("abc\x80"));
}

TEST(CharsetsTest, RightToLeftIsTheFixedTable) {
  std::size_t count = 0;
  std::size_t sum = 0;
  for (wchar_t c = 0; c <= 0x10FFFF; ++c) {
    if (LCharsetsIsLeftToRight(c)) continue;
    ++count;
    sum += static_cast<std::size_t>(c);
  }
  EXPECT_EQ(count, 1044U);
  EXPECT_EQ(sum, 50704970U);
  EXPECT_FALSE(LCharsetsIsLeftToRight(0x5D0) || LCharsetsIsLeftToRight(0x200F));
  EXPECT_TRUE(LCharsetsIsLeftToRight(0x5CF) && LCharsetsIsLeftToRight(0x200E));
  EXPECT_TRUE(LCharsetsIsLeftToRight(WCHAR_MIN) && LCharsetsIsLeftToRight(0xFEFD));
}

}  // namespace
