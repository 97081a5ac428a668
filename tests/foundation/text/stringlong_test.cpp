// SPDX-License-Identifier: MIT
#include "foundation/text/stringlong.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "foundation/text/stringwriter.h"

namespace {

template <typename Char>
class StringLongTest : public testing::Test {};

using Characters = testing::Types<char, unsigned short, wchar_t>;
TYPED_TEST_SUITE(StringLongTest, Characters);

template <typename Char>
std::string Narrow(const LStringLongTemplate<Char>& string) {
  if (string.Buffer()) {
    EXPECT_LT(string.Length(), string.Capacity());
    EXPECT_EQ(string.Buffer()[string.Length()], 0);
  }
  return {string.Text(), string.Text() + string.Length()};
}

template <typename Char>
struct Wide {
  explicit Wide(const std::string& text) : characters(text.begin(), text.end()) {
    characters.push_back(0);
  }
  operator const Char*() const { return characters.data(); }
  std::vector<Char> characters;
};

TYPED_TEST(StringLongTest, CapacitiesByTheRules) {
  using String = LStringLongTemplate<TypeParam>;
  String string;
  EXPECT_EQ(Narrow(string), "");
  EXPECT_EQ(string.Capacity(), 0U);
  string = Wide<TypeParam>("abc");
  EXPECT_EQ(string.Capacity(), 4U);
  string.GrowToSize(3);
  EXPECT_EQ(string.Capacity(), 4U);
  string.GrowToSize(7);
  EXPECT_EQ(string.Capacity(), 7U);
  string.Append(static_cast<TypeParam>('d'));
  string.Append(static_cast<TypeParam>('e'));
  EXPECT_EQ(string.Capacity(), 7U);
  string.Append(static_cast<TypeParam>('f'));
  string.Append(static_cast<TypeParam>('g'));
  EXPECT_EQ(string.Capacity(), 260U);
  string.Append(Wide<TypeParam>(std::string(300, 'h')));
  EXPECT_EQ(string.Capacity(), 7U + 300 + 1 + 260);
  EXPECT_EQ(Narrow(string), "abcdefg" + std::string(300, 'h'));
  while (string.Length() < 567)
    string.Append(static_cast<TypeParam>('i'));
  EXPECT_EQ(string.Capacity(), 568U);
  string.Append(static_cast<TypeParam>('j'));
  EXPECT_EQ(string.Capacity(), 567U + 2 + 568);
  EXPECT_EQ(Narrow(string).size(), 568U);
}

TYPED_TEST(StringLongTest, OwnTextAndCopies) {
  using String = LStringLongTemplate<TypeParam>;
  String string(Wide<TypeParam>("abcdef"));
  string = string.Text() + 2;
  EXPECT_EQ(Narrow(string), "cdef");
  EXPECT_EQ(string.Capacity(), 5U);
  for (std::string expected = "cdef"; expected.size() < 3000;) {
    string.Append(string.Text() + 1);
    expected += expected.substr(1);
    string.Append(string.Text(), 3);
    expected += expected.substr(0, 3);
    EXPECT_EQ(Narrow(string), expected);
  }
  string.SetLength(2);
  string = std::as_const(string);
  EXPECT_EQ(string.Capacity(), 3U);
  String copy(string);
  String empty;
  copy = empty;
  EXPECT_EQ(copy.Buffer(), nullptr);
  EXPECT_EQ(copy.Capacity(), 0U);
  const String moved(std::move(string));
  EXPECT_EQ(Narrow(moved), "cd");
}

TYPED_TEST(StringLongTest, AddCharactersGrowsAtOnce) {
  for (const auto& [count, capacity] :
       {std::pair{9U, 10U}, {10U, 40U}, {39U, 40U}, {40U, 80U}, {80U, 160U}, {1000U, 1280U}}) {
    LStringLongTemplate<TypeParam> string;
    string.GrowToSize(10);
    LStringLongTemplateWriter<TypeParam> writer(string);
    const Wide<TypeParam> text(std::string(count, 'k'));
    writer.AddCharacters(text, 0);
    writer.AddCharacters(text, count);
    writer.Terminate();
    EXPECT_EQ(string.Capacity(), capacity) << count;
    EXPECT_EQ(Narrow(string), std::string(count, 'k'));
  }
}

}  // namespace
