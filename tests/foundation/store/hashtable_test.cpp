// SPDX-License-Identifier: MIT
#include "foundation/store/hashtable.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <tuple>

#include "foundation/store/datfile.h"
#include "foundation/store/uricodec.h"

namespace {

long allocations = 0;
long allocationsLeft = LONG_MAX;

}  // namespace

// Not inlined: the compiler would take malloc and delete, new and free for mistaken pairs.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (allocationsLeft-- <= 0) throw std::bad_alloc();
  ++allocations;
  if (void* memory = std::malloc(size ? size : 1)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

using String = LStringLongTemplate<char>;
using Node = LHashTable::Node;
using Model = std::multimap<std::string, std::string>;

std::string Saved(const LHashTable& table) {
  String out;
  table.SaveString(out);
  return out.Text();
}

std::unique_ptr<char[]> Text(char* text) {
  return std::unique_ptr<char[]>(text);
}

/// The number of black nodes on every way down from `node`; -1 where a rule is broken.
int BlackHeight(const Node* node, const Node* parent) {
  if (!node) return 1;
  const bool isRed = node->colour == LRBTreeRed;
  if (node->parent != parent || (isRed && (!parent || parent->colour == LRBTreeRed))) return -1;
  const int left = BlackHeight(node->left, node);
  if (left < 0 || left != BlackHeight(node->right, node)) return -1;
  return left + (isRed ? 0 : 1);
}

void ExpectEntries(const LHashTable& table, const Model& model) {
  ASSERT_GT(BlackHeight(table.Entries().Root(), nullptr), 0);
  LHashTableConstIterator entry(table.Entries());
  for (const auto& [key, value] : model) {
    ASSERT_TRUE(entry.Current());
    const Node& node = *entry.Current();
    ASSERT_EQ(node.key.Text(), key);
    ASSERT_EQ(node.key.Length() + 1, node.key.Capacity());
    ASSERT_EQ(node.value->Text(), value);
    ASSERT_EQ(node.value->Length() + 1, node.value->Capacity());
    ASSERT_TRUE(table.TestExists(key.c_str()));
    entry.Next();
  }
  EXPECT_FALSE(entry.Current());
  EXPECT_FALSE(entry.Next());
}

/// A table and what has to be in it. Values differ, so that they tell equal keys apart.
class Subject {
 public:
  explicit Subject(unsigned int seed) : random_(seed) {}

  void ChangeOnce() {
    const unsigned int choice = Below(7);
    const std::string key = model.empty() || Below(2) == 0
                                ? NewKey()
                                : std::next(model.begin(), Below(model.size()))->first;
    const std::string value =
        std::to_string(++values_) + std::string(Below(3) == 0 ? 4090 + Below(6) : Below(24), 'v');
    const auto found = Found(key);
    if (choice < 2) {
      table.LoadHTTPString((key + "=" + value).c_str());
      if (!key.empty()) model.emplace(key, value);
    } else if (choice < 5) {
      table.SetString(key.c_str(), value.c_str());
      (found == model.end() ? model.emplace(key, value) : found)->second = value;
    } else {
      table.DeleteField(key.c_str());
      if (found != model.end()) model.erase(found);
    }
  }

  LHashTable table;
  Model model;

 private:
  unsigned int Below(std::size_t limit) { return static_cast<unsigned int>(random_() % limit); }

  // Long common beginnings, and keys that end within them; bytes on both sides of the sign.
  std::string NewKey() {
    std::string key(Below(4) == 0 ? Below(81) : 70, 'p');
    for (unsigned int more = Below(12); more > 0; --more)
      key += "a\x80\xff\x01"[Below(4)];
    return key;
  }

  /// What a lookup finds; the end when there is no such key.
  Model::iterator Found(const std::string& key) {
    const char* value = table.GetString(key.c_str(), nullptr);
    auto [entry, end] = model.equal_range(key);
    while (entry != end && (!value || entry->second != value))
      ++entry;
    EXPECT_EQ(value != nullptr, entry != end);
    return value ? entry : model.end();
  }

  std::mt19937 random_;
  int values_ = 0;
};

TEST(HashTableTest, IsABalancedTreeOfWhatAModelHolds) {
  for (unsigned int seed = 0; seed < 12; ++seed) {
    Subject subject(seed);
    for (int step = 0; step < 500; ++step) {
      subject.ChangeOnce();
      if (step % 5 == 0) ExpectEntries(subject.table, subject.model);
      ASSERT_FALSE(HasFailure()) << seed << ", " << step;
    }
    LHashTable copy;
    LHashTableCopy(copy, subject.table);
    std::map<std::string, std::string> expected;
    for (const auto& [key, value] : subject.model)
      expected[key] = value;
    ExpectEntries(copy, Model(expected.begin(), expected.end()));
    LHashTable moved = std::move(subject.table);
    copy = std::move(moved);
    ExpectEntries(copy, subject.model);
    while (copy.Entries().Root())
      copy.DeleteField(copy.Entries().Root()->key.Text());
    ExpectEntries(copy, Model());
  }
}

TEST(HashTableTest, HoldsALargeTableFilledInOrder) {
  constexpr int count = 100000;
  const auto key = [](int index) { return "entry" + std::to_string(1000000 + index); };
  LHashTable table;
  for (int index = 0; index < count; ++index)
    table.SetInt(key(index).c_str(), index);
  for (int index = 0; index < count; index += 2)
    table.DeleteParm(key(index).c_str());
  EXPECT_GT(BlackHeight(table.Entries().Root(), nullptr), 0);
  int next = 1;
  for (LHashTableConstIterator entry(table.Entries()); entry.Current(); entry.Next(), next += 2) {
    ASSERT_EQ(entry.Current()->key.Text(), key(next));
    ASSERT_EQ(table.GetInt(key(next).c_str(), -1), next);
    ASSERT_FALSE(table.TestExists(key(next - 1).c_str()));
  }
  EXPECT_EQ(next, count + 1);
}

TEST(HashTableTest, ReadsNumbers) {
  const std::tuple<const char*, int, long long, double, bool> cases[] = {
      {nullptr, 7, 7, 7, true},
      {"", 7, 7, 7, true},
      {"10", 10, 10, 10, true},
      {"true", 0, 0, 0, false},
      {"12abc", 12, 12, 12, true},
      {"-3.5", -3, -3, -3.5, false},
      {"4294967297", 1, 4294967297, 4294967297.0, false}};
  for (const auto& [value, integer, integer64, number, flag] : cases) {
    SCOPED_TRACE(value ? value : "absent");
    LHashTable table;
    if (value) table.SetParm("key", value);
    EXPECT_EQ(table.GetInt("key", 7), integer);
    EXPECT_EQ(table.GetInt64("key", 7), integer64);
    EXPECT_EQ(table.GetFloat("key", 7), number);
    EXPECT_EQ(table.GetBool("key", true), flag);
  }
  LHashTable table;
  table.SetString("a", (std::string(258, ' ') + "12").c_str());
  EXPECT_EQ(table.GetInt("a", 7), 1);  // 259 bytes count
  table.SetInt("a", INT_MIN);
  table.SetInt64("b", LLONG_MIN);
  table.SetFloat("c", -0.0000004);
  table.SetFloat("d", 1e300);
  EXPECT_EQ(Saved(table),
            "a=-2147483648&b=-9223372036854775808&c=-0.000000&d=" + std::to_string(1e300));
}

TEST(HashTableTest, ReturnsTexts) {
  LHashTable table;
  table.SetString("a", "1");
  table.SetParmBottom("a", "2");
  table.SetString("B", nullptr);
  EXPECT_EQ(Saved(table), "B=&a=2");
  EXPECT_STREQ(table.GetString("B", "default"), "");
  EXPECT_EQ(table.GetParm("absent", nullptr), nullptr);

  const std::string text(300, 'x');
  table.SetString("long", text.c_str());
  char out[261] = "in place";
  table.GetString("absent", out, out);
  EXPECT_STREQ(out, "in place");
  table.GetString("absent", nullptr, out);
  EXPECT_STREQ(out, "");
  out[260] = '!';
  table.GetString("long", "", out);
  EXPECT_EQ(out, text.substr(0, 259));
  EXPECT_EQ(out[260], '!');
  String string("old");
  table.GetString("absent", nullptr, string);
  EXPECT_STREQ(string.Text(), "");
  table.GetString("long", nullptr, string);
  EXPECT_EQ(string.Text(), text);

  table.SetString("B", "  \tx y  ");
  EXPECT_STREQ(table.GetParmTrim("B", nullptr), "\tx y");
  EXPECT_EQ(Saved(table), "B=\tx y&a=2&long=" + text);
  EXPECT_STREQ(table.GetParmTrim("absent", " default "), " default ");
}

// Its own texts may come back as arguments, while the value moves in and out of the entry's block.
TEST(HashTableTest, TakesItsOwnTextsAsValues) {
  LHashTable table;
  std::string expected;
  for (const std::size_t length : {9U, 7U, 5000U, 4999U, 7000U, 8U, 4096U, 0U, 300U}) {
    if (length > expected.size()) {
      expected += std::string(length, '+');
      table.SetString("key", expected.c_str());
    }
    const std::size_t cut = expected.size() - length;
    table.SetString("key", table.GetString("key", nullptr) + cut);
    expected = expected.substr(cut);
    ASSERT_EQ(Saved(table), "key=" + expected);
    ASSERT_EQ(table.Entries().Root()->value->Capacity(), length + 1);
  }
  table.DeleteField(table.Entries().Root()->key.Text());
  EXPECT_EQ(Saved(table), "");
}

TEST(HashTableTest, AllocatesOnceForAnEntryAndNeverForALookup) {
  LHashTable table;
  long before = allocations;
  table.SetString("capture.picture.width", "1920");
  table.SetString("capture.picture.height", "1080");
  EXPECT_EQ(allocations - before, 2);
  before = allocations;
  table.SetString("capture.picture.width", "720");
  EXPECT_STREQ(table.GetString("capture.picture.width", nullptr), "720");
  EXPECT_EQ(table.GetInt("capture.picture.absent", 0), 0);
  EXPECT_STREQ(table.GetParmTrim("capture.picture.height", nullptr), "1080");
  EXPECT_EQ(allocations, before);
}

TEST(HashTableTest, IsAsItWasWhenMemoryRunsOut) {
  const std::string large(5000, 'l');
  const auto attempt = [&](LHashTable& table, int what) {
    if (what == 0) return table.SetString("capture.new", large.c_str());
    if (what == 1) return table.SetString("capture.width", large.c_str());
    return table.LoadHTTPString("new=1");
  };
  for (int index = 0; index < 12; ++index) {
    LHashTable table;
    table.SetString("capture.width", "720");
    allocationsLeft = index / 3;
    bool hasFailed = false;
    try {
      attempt(table, index % 3);
    } catch (const std::bad_alloc&) {
      hasFailed = true;
    }
    allocationsLeft = LONG_MAX;
    EXPECT_EQ(hasFailed, Saved(table) == "capture.width=720");
    EXPECT_STREQ(table.GetString("capture.width", nullptr),
                 hasFailed || index % 3 != 1 ? "720" : large.c_str());
  }
}

TEST(HashTableTest, SubstitutesInTemplates) {
  const std::tuple<const char*, std::size_t, const char*, bool, const char*> cases[] = {
      {"", 64, "", false, ""},
      {"abc", 3, "ab", false, "abc"},
      {"100%%", 64, "100%", true, "100<>"},
      {"100%", 64, "100%", true, "100<>"},
      {"%missing%x", 64, "x", true, "x"},
      {"%name%%name%", 8, "valueva", true, "valuevalue"},
      {"a%name", 64, "avalue", true, "avalue"},
      {"%%%name%%%", 64, "%value%", true, "<>value<>"},
      {"%Name%.", 64, ".", true, "."}};
  LHashTable table;
  table.SetString("name", "value");
  table.SetString("", "<>");
  for (const auto& [text, size, bounded, hadName, unbounded] : cases) {
    SCOPED_TRACE(text);
    const auto out = std::make_unique<char[]>(size);
    EXPECT_EQ(table.ParseString(text, out.get(), size), hadName);
    EXPECT_STREQ(out.get(), bounded);
    EXPECT_STREQ(Text(table.ParseString(text)).get(), unbounded);
  }
  EXPECT_TRUE(table.ParseString("%name%", nullptr, 0));

  for (std::size_t length = 250; length < 530; ++length)
    EXPECT_EQ(Text(table.ParseString(std::string(length, 'x').c_str())).get(),
              std::string(length, 'x'));

  // 259 bytes of a name count; the rest of it is skipped.
  const std::string name(259, 'n');
  const std::string value(1000, 'v');
  table.SetString(name.c_str(), value.c_str());
  EXPECT_EQ(Text(table.ParseString(("%" + name + "more%>%" + name).c_str())).get(),
            value + ">" + value);
}

TEST(HashTableTest, LoadsAndSavesQueries) {
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"", "", ""},
      {"a=1+2&b=%41%4a&=z&c", "a=1 2&b=AJ&c=", "a=1%202&b=AJ&c="},
      {"&&=x&%00=y&&", "", ""},
      {"a=1&a=2&A=3", "A=3&a=1&a=2", "A=3&a=1&a=2"},
      {"b=x=y&a", "a=&b=x=y", "a=&b=x%3Dy"},
      {"%26%3d%25=+%2b", "&=%= +", "%26%3D%25=%20%2B"},
      {"b=x y&a=1!*'()-._~\xc3\xa4", "a=1!*'()-._~\xc3\xa4&b=x y",
       "a=1!%2A%27%28%29-._~%C3%A4&b=x%20y"},
      {"a=" + std::string(20000, '.'), "a=" + std::string(20000, '.'),
       "a=" + std::string(20000, '.')}};
  for (const auto& [text, entries, saved] : cases) {
    LHashTable table;
    table.LoadHTTPString(String(text.c_str()));
    String out("what was there");
    table.SaveHTTPString(out);
    EXPECT_EQ(out.Text(), saved);
    table.SaveString(out);
    EXPECT_EQ(out.Text(), saved + entries);
  }
}

TEST(URICodecTest, DecodesToAStop) {
  const std::tuple<const char*, const char*, const char*, std::uint64_t> cases[] = {
      {"", "&", "", 0},
      {"&a", "&", "", 0},
      {"a=b", "&=", "a", 1},
      {"a+b%20c", "", "a b c", 7},
      {"%4G%g4%GG.", "", "@\x04.", 10},
      {"x%00y", "&", "xy", 5},
      {"x%", "&", "x", 2},
      {"x%4", "&", "x", 3},
      {"%&4&", "&", "\x04", 3},
      {"a%2bb+", "+", "a+b", 5},
      {"a%41", "%", "a", 1}};
  for (const auto& [text, stops, decoded, end] : cases) {
    SCOPED_TRACE(text);
    for (const bool bySet : {true, false}) {
      if (!bySet && std::strlen(stops) > 1) break;
      char out[16] = "";
      LFixedLengthStringWriterTemplate<char> writer(out, 15);
      EXPECT_EQ(bySet ? LURIDecodeToWriterDirect(writer, text, stops)
                      : LURIDecodeToWriterDirect(writer, text, *stops),
                end);
      EXPECT_STREQ(out, decoded);
    }
  }
}

TEST(HashTableTest, SavesIntoASectionOfADatFile) {
  const std::string path = std::filesystem::temp_directory_path() /
                           ("hashtable_test." + std::to_string(getpid()) + ".dat");
  LDatFile file(path.c_str());
  LDatFileSetValue(path.c_str(), "section", "other", "kept");
  LHashTable table;
  table.SetString("a", "1");
  table.SetString("b", "");
  table.SaveDatFile(file, "section");
  for (const auto& [name, value] : {std::pair("a", "1"), {"b", ""}, {"other", "kept"}}) {
    char out[260];
    LDatFileGetValue(path.c_str(), "section", name, "absent", out);
    EXPECT_STREQ(out, value);
  }
  std::filesystem::remove(path);
}

}  // namespace
