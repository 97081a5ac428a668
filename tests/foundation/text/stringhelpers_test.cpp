// SPDX-License-Identifier: MIT
#include "foundation/text/stringhelpers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/text/texttonumber.h"

namespace {

/// A text in a buffer of just its size, in which the sanitizer sees each step beyond.
class Exact : public std::vector<char> {
 public:
  explicit Exact(const std::string& text) : std::vector<char>(text.begin(), text.end()) {
    push_back(0);
  }
};

TEST(TextToNumberTest, ReadsWhatBeginsTheText) {
  constexpr long long kMost = 9223372036854775807;
  const struct {
    const char* text;
    long long decimal;
    unsigned int hexadecimal;
  } cases[] = {
      {"", 0, 0},
      {nullptr, 0, 0},
      {"ff", 0, 255},
      {"12g3", 12, 18},
      {"0x1F", 0, 0},
      {"123456789", 123456789, 0x23456789},
      {"  -12x", -12, 0},
      {"\t\r\n\x01+7", 7, 0},
      {"\xa0"
       "7",
       0, 0},
      {"- 7", 0, 0},
      {"+-7", 0, 0},
      {"9223372036854775808", kMost, 0x54775808},
      {"-9223372036854775808", -kMost, 0},
      {"-9223372036854775806", -kMost + 1, 0},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(ttoi64template(test.text), test.decimal) << test.text;
    EXPECT_EQ(atoh(test.text), test.hexadecimal) << test.text;
  }
  EXPECT_EQ(wtoh(L"12g"), 18U);
  EXPECT_EQ(wtoh(L"\u01301"), 0U);
}

TEST(StringHelpersTest, ChangesTextsInPlace) {
  const struct {
    const char* text;
    const char* trimmed;
    const char* withoutFormatting;
    const char* lower;
    const char* upper;
  } cases[] = {
      {"", "", "", "", ""},
      {"   ", "", "   ", "   ", "   "},
      {"  a B  ", "a B", "  a B  ", "  a b  ", "  A B  "},
      {"\t x\n ", "\t x\n", " x\n ", "\t x\n ", "\t X\n "},
      {"\n\x1f\x01", "\n\x1f\x01", "", "\n\x1f\x01", "\n\x1f\x01"},
      {"\rx\ty\n\t", "\rx\ty\n\t", "x\ty", "\rx\ty\n\t", "\rX\tY\n\t"},
      {" Zo\xc3\xab ", "Zo\xc3\xab", " Zo\xc3\xab ", " zo\xc3\xab ", " ZO\xc3\xab "},
  };
  for (const auto& test : cases) {
    Exact text(test.text);
    LStringTrim<char>(text.data());
    EXPECT_STREQ(text.data(), test.trimmed);
    Exact lines(test.text);
    LStringTrimFormatting(lines.data());
    EXPECT_STREQ(lines.data(), test.withoutFormatting);
    EXPECT_STREQ(strlwr(Exact(test.text).data()), test.lower);
    EXPECT_STREQ(strupr(Exact(test.text).data()), test.upper);
  }
}

TEST(StringHelpersTest, FindsAndComparesTexts) {
  const struct {
    const char* text;
    const char* part;
    int found;  // -1: nowhere
    int end;    // sign of the comparison with the end
  } cases[] = {
      {"Hello", "LL", 2, 1},
      {"Hello", "llo", 2, 0},
      {"Hello", "Hello", 0, 0},
      {"Hello", "hellos", -1, -1},
      {"", "", 0, 0},
      {"abc", "", 0, 0},
      {"", "a", -1, -1},
      {"aab", "AB", 1, 1},
      {"Stra\xc3\x9f"
       "e",
       "\x9f"
       "E",
       5, 1},
  };
  for (const auto& test : cases) {
    const std::wstring wide(test.text, test.text + std::strlen(test.text));
    const std::wstring widePart(test.part, test.part + std::strlen(test.part));
    const char* found = tstristr(test.text, test.part);
    EXPECT_EQ(found, test.found < 0 ? nullptr : test.text + test.found) << test.text;
    const wchar_t* wideFound = tstristr(wide.c_str(), widePart.c_str());
    EXPECT_EQ(wideFound, test.found < 0 ? nullptr : wide.c_str() + test.found) << test.text;
    const int order = tstrcmpend(test.text, test.part);
    EXPECT_EQ((order > 0) - (order < 0), test.end) << test.text;
  }
  // Needles and haystacks that would take hours if each place measured both.
  const std::string hay(400000, 'a');
  EXPECT_EQ(tstristr(hay.c_str(), (hay + "a").c_str()), nullptr);
  EXPECT_NE(tstristr(hay.c_str(), hay.substr(1).c_str()), nullptr);
}

TEST(StringHelpersTest, CutsFieldsToTheirBuffers) {
  const std::string text = "<a>one</a><b>" + std::string(300, 'b');
  const struct {
    const char* start;
    const char* end;
    std::size_t size;
    bool found;
    std::string field;
  } cases[] = {
      {"<a>", "</a>", 4, true, "one"},
      {"<a>", "</a>", 3, true, "on"},
      {"<a>", "</a>", 1, true, ""},
      {"<c>", "</c>", 5, false, ""},
      {"<b>", "</b>", 400, true, text.substr(13)},
  };
  for (const auto& test : cases) {
    std::vector<char> out(test.size, '?');
    EXPECT_EQ(LStringFindTextField(text.c_str(), test.start, test.end, out.data(), out.size()),
              test.found);
    EXPECT_EQ(out.data(), test.field);
  }
  EXPECT_TRUE(LStringFindTextField(text.c_str(), "<a>", "</a>", nullptr, 0));
  std::vector<char> out(260, '?');
  EXPECT_EQ(LParseGetToCharacters<char>(text.c_str(), "<", out.data()), 0U);
  EXPECT_EQ(LParseGetToCharacters<char>(text.c_str() + 3, ">/<", out.data()), 3U);
  EXPECT_STREQ(out.data(), "one");
  EXPECT_EQ(LParseGetToCharacters<char>(text.c_str() + 13, ",", out.data()), 300U);
  EXPECT_EQ(out.data(), std::string(259, 'b'));
  EXPECT_EQ(LParseGetToCharacters<char>(nullptr, ",", out.data()), 0U);
  EXPECT_EQ(out[0], 0);

  LStringLongTemplate<char> line = "old";
  const std::pair<const char*, std::size_t> lines[] = {{"a b\r\nc", 3}, {"a\n\r", 1}, {"\n", 0},
                                                       {"abc", 3},      {"", 0},      {nullptr, 0}};
  for (const auto& [from, length] : lines) {
    EXPECT_EQ(LParseGetToEndOfLine(from, line), length);
    EXPECT_EQ(std::string(line.Text()), std::string(from ? from : "").substr(0, length));
  }
}

TEST(StringHelpersTest, RemovesOneItemOfAQuery) {
  const std::string longName(270, 'n');
  const struct {
    std::string name;
    std::string query;
    std::string rest;
    int place;  // -1: unchanged
  } cases[] = {
      {"a", "a=1&b=2", "&b=2", 0},
      {"b", "a=1&b=2", "a=1", 3},
      {"b", "a=1&b=2&c=3", "a=1&c=3", 3},
      {"c", "a=1&b=2", "a=1&b=2", -1},
      {"name", "xname=1&b=2", "x&b=2", 1},
      {longName, longName.substr(9) + "&b", "&b", 0},  // 261 characters are looked for
      {longName, longName.substr(10) + "=1&b", longName.substr(10) + "=1&b", -1},
  };
  for (const auto& test : cases) {
    Exact query(test.query);
    const char* removed = LRemoveHTTPItem(test.name.c_str(), query.data());
    EXPECT_EQ(removed, test.place < 0 ? nullptr : query.data() + test.place) << test.query;
    EXPECT_EQ(query.data(), test.rest);
  }
}

TEST(StringHelpersTest, ReadsCommaSeparatedItems) {
  const struct {
    std::string list;
    std::size_t size;
    std::string items;  // each behind "|", empty ones too
    std::size_t end;
  } cases[] = {
      {R"(a, "b,c" ,d)", 260, "|a|b,c|d", 11},
      {"a,,b", 260, "|a||b", 4},
      {R"( " a "  b  ,"c)", 260, "| a   b|c", 14},
      {"a\r\nb", 260, "|a", 1},
      {"\"a\nb\"", 260, "|a", 2},
      {"abcdef,ab  cd", 5, "|abcd|ab", 13},
      {"abc,d", 1, "||", 5},
  };
  for (const auto& test : cases) {
    const Exact list(test.list);
    std::vector<char> out(test.size, '?');
    std::size_t position = 0;
    std::string items;
    while (position < test.end) {
      const bool isItem = GetCSVListItem(list.data(), position, out.data(), out.size());
      EXPECT_EQ(isItem, out[0] != 0 || test.size == 1) << test.list;
      items += '|' + std::string(out.data());
    }
    EXPECT_EQ(items, test.items) << test.list;
    EXPECT_FALSE(GetCSVListItem(list.data(), position, out.data(), out.size()));
    EXPECT_EQ(position, test.end);
    EXPECT_EQ(out[0], 0);
  }
}

TEST(StringHelpersTest, EncodesForHtmlAndMakesPasswords) {
  LStringLongTemplate<char> out = "x";
  out.GrowToSize(260);
  LStringLongTemplateAppender<char> appender(out);
  LHTMLEncodeToWriterSimple(appender, "<a href=\"?b&c\">it's \xc3\xbc</a>");
  LHTMLEncodeToWriterSimple(appender, "");
  out.SetLength(appender.Length());
  EXPECT_STREQ(out.Text(), "x&lt;a href=&quot;?b&amp;c&quot;&gt;it's \xc3\xbc&lt;/a&gt;");
  std::vector<char> password(101, '?');
  LStringGenerateRandomPassword(password.data(), 100);
  EXPECT_EQ(std::string(password.data()).size(), 100U);
  EXPECT_TRUE(std::all_of(password.begin(), password.end() - 1,
                          [](char c) { return c >= 'a' && c <= 'z'; }));
}

}  // namespace
