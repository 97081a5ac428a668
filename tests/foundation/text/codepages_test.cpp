// SPDX-License-Identifier: MIT
#include "foundation/text/codepages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/foundation/text/iconvoracle.h"

namespace {

using Long = LStringLongTemplate<char>;

struct Page {
  const char* name;
  void (*from)(char*, const char*, std::size_t);
  void (*to)(char*, const char*, std::size_t);
  std::size_t (*fromInto)(Long&, const char*);
  std::size_t (*toInto)(Long&, const char*);
};

const Page kPages[] = {
    {"ISO-8859-1", LCopyFromISO88591, LCopyToISO88591, LCopyFromISO88591, LCopyToISO88591},
    {"WINDOWS-1252", LCopyFromWIN1252, LCopyToWIN1252, LCopyFromWIN1252, LCopyToWIN1252},
    {"SHIFT-JIS", LCopyFromSHIFTJIS932, LCopyToSHIFTJIS932, LCopyFromSHIFTJIS932,
     LCopyToSHIFTJIS932},
    {"ISO-2022-JP", LCopyFromISO2022JP, LCopyToISO2022JP, LCopyFromISO2022JP, LCopyToISO2022JP},
    {"EUC-KR", LCopyFromEUCKR, LCopyToEUCKR, LCopyFromEUCKR, LCopyToEUCKR},
    {"ISO-8859-5", LCopyFromISO88595, LCopyToISO88595, LCopyFromISO88595, LCopyToISO88595},
    {"GB18030", LCopyFromGB18030, LCopyToGB18030, LCopyFromGB18030, LCopyToGB18030},
    {"KOI8-R", LCopyFromKOI8R, nullptr, LCopyFromKOI8R, nullptr}};

std::string Terminated(const std::string& text) {
  return {text.c_str(), text.size() + 1};
}

/// Both forms against iconv, in a buffer of just `size`, of which what is behind the terminator
/// does not count.
void Check(const char* to, const char* from, void (*sized)(char*, const char*, std::size_t),
           std::size_t (*into)(Long&, const char*), std::size_t growth, const std::string& text,
           std::size_t size) {
  std::vector<char> out(size, '?');
  const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
  sized(out.data(), exact.data(), size);
  std::string expected = Iconv(to, from, Terminated(text), size);
  if (expected.size() < size) expected += '\0';  // else it is left as it is
  ASSERT_EQ(std::string(out.data(), expected.size()), expected) << to << " " << text << " " << size;
  Long string = "what was here before";
  const std::size_t length = into(string, exact.data());
  const std::size_t room = growth * text.size() + 1;
  const std::string all = Iconv(to, from, Terminated(text), room).substr(0, room - 1).c_str();
  ASSERT_EQ(string.Text(), all) << to << " " << text;
  ASSERT_EQ(length, all.size());
  ASSERT_EQ(string.Length(), length);
  ASSERT_EQ(string.Capacity(), std::max<std::size_t>(room, 21));
}

TEST(CodePagesTest, EverySmallTextIsWhatIconvMakesOfIt) {
  std::mt19937 random(1);
  for (const Page& page : kPages) {
    for (std::size_t c = 1; c < 0x10000; c += c < 0x100 ? 1 : 1 + random() % 512) {
      std::string text(1, static_cast<char>(c));
      if (c >= 0x100) text.insert(text.begin(), static_cast<char>(c >> 8));
      if (std::strlen(text.c_str()) != text.size()) continue;
      const std::size_t size = 1 + random() % 8;
      Check("UTF-8", page.name, page.from, page.fromInto, 6, text, size);
      const std::string back = Iconv("UTF-8", page.name, text, 9);
      if (page.to) Check(page.name, "UTF-8", page.to, page.toInto, 1, back, size);
    }
    // Beyond the two planes that hold something, only what iconv treats in its own way.
    for (wchar_t c = 1; page.to && c < 0xE0080; c = c == 0x30000 ? 0xDFFFE : c + 1) {
      if (c >= 0xD800 && c < 0xE000) continue;
      if (c > 0x800 && random() % 256 != 0) continue;
      const std::string utf8 =
          Iconv("UTF-8", "UTF-32LE", {reinterpret_cast<const char*>(&c), sizeof c}, 8);
      Check(page.name, "UTF-8", page.to, page.toInto, 1, utf8 + "a", 1 + random() % 9);
    }
  }
}

TEST(CodePagesTest, EveryTextAndSizeIsWhatIconvMakesOfIt) {
  std::mt19937 random(2);
  const char* const parts[] = {"plain text ",
                               "\xC3\xA9\xC3\xBC",
                               "\xD0\x96\xD1\x8F",
                               "\xE3\x81\x82\xE6\xBC\xA2",
                               "\xEA\xB0\x80",
                               "\xE2\x82\xAC",
                               "\xF3\xA0\x80\xA1",
                               "\\~",
                               "\x1B$B$\"\x1B(B",
                               "\xA4\xA2",
                               "\xE2",  // cut short, at the end too
                               "\xFF"};
  for (int i = 0; i < 1500; ++i) {
    const Page& page = kPages[random() % std::size(kPages)];
    std::string text;
    for (auto count = random() % 9; count > 0; --count)
      text += parts[random() % 4 == 0 ? random() % std::size(parts) : i % 7];
    const std::size_t size = 1 + random() % (3 * text.size() + 4);
    Check("UTF-8", page.name, page.from, page.fromInto, 6, text, size);
    if (page.to) Check(page.name, "UTF-8", page.to, page.toInto, 1, text, size);
  }
}

TEST(CodePagesTest, OddFormsStayAsTheyAre) {
  char out[8];
  LCopyFromISO88591(out, "\xE9");
  EXPECT_EQ(std::string(out, 2), "\xC3\xA9") << "with a size of 2 there is no room for more";
  LCopyToISO88591(out, "\xC3\xA9");
  EXPECT_STREQ(out, "\xE9");
  LCopyToKOI8R(out, "text", sizeof out);
  EXPECT_STREQ(out, "");
  Long string = "before";
  EXPECT_EQ(LCopyToKOI8R(string, "text"), 0U);
  EXPECT_EQ(LCopyFromWIN1252(string, nullptr), 0U);
  EXPECT_STREQ(string.Text(), "");
  out[0] = '?';
  LCopyIconvFixedLength(out, "text", sizeof out, "no such set", "UTF-8");
  EXPECT_STREQ(out, "");
  std::memset(out, '?', sizeof out);
  LCopyToSpecificCodePage(1252, out, "\xC3\xA9\xC3\xA9", 4);
  EXPECT_STREQ(out, "\xC3\xA9\xC3") << "copied, not converted";
  EXPECT_EQ(LCopyToSpecificCodePage(0, out, "x", 0), 0U);
  EXPECT_STREQ(out, "\xC3\xA9\xC3");
}

TEST(CodePagesTest, WindowsNumbersAreAllOrNothing) {
  const std::pair<unsigned int, const char*> sets[] = {
      {437, "IBM437"},        {850, "IBM850"},        {866, "IBM866"},   {874, "CP874"},
      {932, "CP932"},         {936, "GBK"},           {949, "UHC"},      {950, "BIG5"},
      {1200, "UTF-16LE"},     {1250, "CP1250"},       {1251, "CP1251"},  {1252, "CP1252"},
      {1253, "CP1253"},       {1254, "CP1254"},       {1255, "CP1255"},  {1256, "CP1256"},
      {1257, "CP1257"},       {1258, "CP1258"},       {1361, "JOHAB"},   {20127, "ASCII"},
      {20866, "KOI8-R"},      {21866, "KOI8-U"},      {28591, "LATIN1"}, {28595, "ISO-8859-5"},
      {28605, "ISO-8859-15"}, {50220, "ISO-2022-JP"}, {51932, "EUC-JP"}, {51949, "EUC-KR"},
      {54936, "GB18030"}};
  std::mt19937 random(3);
  for (const auto& [number, name] : sets) {
    for (int i = 0; i < 150; ++i) {
      std::string bytes(random() % (i % 2 == 0 ? 5 : 270), 0);
      for (char& byte : bytes)
        byte = static_cast<char>(i % 5 == 0 ? 1 + random() % 255
                                            : "aZ 7\xE0\xEA\xC8\xD2\xB1"[random() % 9]);
      bool isWhole = true;
      std::string expected = Iconv("UTF-8", name, bytes, 3000, &isWhole);
      if (!isWhole || expected.size() > 259) expected.clear();
      std::vector<char> out(260, '?');
      std::vector<char> exact(bytes.c_str(), bytes.c_str() + bytes.size() + 1);
      LCopyFromSpecificCodePage(number, out.data(), exact.data(),
                                bytes.size() + random() % 2 * 999);
      ASSERT_EQ(out.data(), expected) << number;
      Long string = "before";
      EXPECT_EQ(LCopyFromSpecificCodePage(number, string, bytes.c_str()), expected.size());
      EXPECT_EQ(string.Text(), expected);
      EXPECT_EQ(string.Capacity(), std::max<std::size_t>(6 * bytes.size() + 1, 7));
      exact.resize(random() % (bytes.size() + 1));  // n bytes and no terminator
      LCopyFromSpecificCodePage(number, out.data(), exact.data(), exact.size());
      expected = Iconv("UTF-8", name, {exact.data(), exact.size()}, 3000, &isWhole);
      EXPECT_EQ(out.data(), isWhole && expected.size() < 260 ? expected : "") << number;
    }
  }
  std::vector<char> out(260, '?');
  LCopyFromSpecificCodePage(65001, out.data(), "\xFF\xC3\xA9", 3);
  EXPECT_STREQ(out.data(), "\xFF\xC3") << "unchecked";
  LCopyFromSpecificCodePage(65001, out.data(), "x", 0);
  EXPECT_STREQ(out.data(), "\xFF\xC3");
  Long string;
  EXPECT_EQ(LCopyFromSpecificCodePage(65001, string, std::string(5000, 'x').c_str()), 5000U);
  for (const unsigned int unknown : {0U, 1U, 52936U, 99999U}) {
    EXPECT_EQ(LCopyFromSpecificCodePage(unknown, string, Long("text")), 0U);
    EXPECT_EQ(LCopyFromSpecificCodePage(unknown, string, Long()), 0U);
  }
}

// Every number of the table, by a text of ASCII: in the wide and the EBCDIC sets it is another one.
TEST(CodePagesTest, IconvHasEveryNumber) {
  const unsigned int numbers[] = {
      437,   737,   775,   850,   852,   855,   857,   858,   860,   861,   862,   863,   864,
      865,   866,   869,   874,   932,   936,   949,   950,   1250,  1251,  1252,  1253,  1254,
      1255,  1256,  1257,  1258,  1361,  10000, 20127, 20866, 20932, 20936, 21866, 28591, 28592,
      28593, 28594, 28595, 28596, 28597, 28598, 28599, 28600, 28601, 28603, 28604, 28605, 28606,
      38598, 50220, 50221, 50222, 50225, 50227, 51932, 51936, 51949, 54936, 65000};
  Long string;
  for (const unsigned int number : numbers) {
    LCopyFromSpecificCodePage(number, string, "Text 17");
    EXPECT_STREQ(string.Text(), "Text 17") << number;
  }
  const std::pair<unsigned int, std::string> others[] = {
      {37, "\xE3\x85\xA7\xA3"},
      {500, "\xE3\x85\xA7\xA3"},
      {1200, {"T\0e\0x\0t\0", 8}},
      {1201, {"\0T\0e\0x\0t", 8}},
      {12000, {"T\0\0\0e\0\0\0x\0\0\0t\0\0\0", 16}},
      {12001, {"\0\0\0T\0\0\0e\0\0\0x\0\0\0t", 16}}};
  for (const auto& [number, bytes] : others) {
    Long source;
    source.Append(bytes.data(), bytes.size());
    LCopyFromSpecificCodePage(number, string, source);
    EXPECT_STREQ(string.Text(), "Text") << number;
  }
}

}  // namespace
