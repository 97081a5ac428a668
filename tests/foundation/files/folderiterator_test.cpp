// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <string>

#include "foundation/files/folderiterator.h"

namespace fs = std::filesystem;
using Names = std::set<std::string>;

namespace {

/// The rule itself, as slow as it is.
bool IsMatchSlowly(const char* pattern, const char* name) {
  if (*pattern == '*') {
    for (; *name != '\0'; ++name) {
      if (IsMatchSlowly(pattern + 1, name)) return true;
    }
    return IsMatchSlowly(pattern + 1, name);
  }
  if (*pattern == '\0' || *name == '\0') return *pattern == *name;
  return (*pattern == '?' || *pattern == *name) && IsMatchSlowly(pattern + 1, name + 1);
}

TEST(IsMatch, GivesWhatTheRuleSaysInGoodTime) {
  const auto is = LFile::IsMatch<char>;
  EXPECT_TRUE(is("", "") && is("a?c", "abc") && is("[a]\\*", "[a]\\b") &&
              is("*\xC3?", "\x80\xC3\xA4"));
  EXPECT_FALSE(is("", "a") || is("a?c", "ac") || is("*.TXT", "a.txt"));
  std::mt19937 random(1);
  const auto text = [&](const char* alphabet, unsigned int letters, unsigned int maxLength) {
    std::string made(random() % (maxLength + 1), ' ');
    for (char& c : made)
      c = alphabet[random() % letters];
    return made;
  };
  for (unsigned int i = 0; i < 20'000; ++i) {
    const std::string pattern = text("ab**?", 5, 9), name = text("ab*?", 2 + i % 3, 11);
    ASSERT_EQ(LFile::IsMatch(pattern.c_str(), name.c_str()),
              IsMatchSlowly(pattern.c_str(), name.c_str()))
        << pattern << " " << name;
  }
  // At most pattern times name: the rule itself would take for ever.
  std::string stars;
  for (int i = 0; i < 2'000; ++i)
    stars += "*a";
  const std::string name(20'000, 'a'), part = "*" + std::string(1'000, 'a') + "b*";
  EXPECT_FALSE(LFile::IsMatch((stars + "*b").c_str(), name.c_str()));
  EXPECT_FALSE(LFile::IsMatch(part.c_str(), name.c_str()));
}

class FolderIterator : public testing::Test {
 protected:
  FolderIterator() {
    std::string name = fs::temp_directory_path() / "folderXXXXXX";
    folder_ = mkdtemp(name.data());
  }
  ~FolderIterator() override { fs::remove_all(folder_); }

  void Make(const std::string& name, std::size_t size = 0) {
    std::ofstream(folder_ / name) << std::string(size, 'x');
  }
  std::string Path(const std::string& name) { return folder_ / name; }
  unsigned long long Size(const std::string& name, bool isWithSubFolders = false) {
    return LFile::GetFolderSizeBytes(Path(name).c_str(), isWithSubFolders);
  }

  /// Everything from an iterator that is at its first entry, or is not.
  static Names Rest(LFile::FolderIterator& files, bool isAt) {
    Names names;
    for (; isAt; isAt = files.Next()) {
      EXPECT_TRUE(names.insert(files.GetFileName()).second) << files.GetFileName();
    }
    EXPECT_TRUE(*files.GetFileName() == '\0' && files.FolderDescriptor() == -1 && !files.Next());
    return names;
  }
  Names Matching(const std::string& pattern) {
    LFile::FolderIterator files;
    return Rest(files, files.Open(folder_.c_str(), pattern.c_str()));
  }
  Names At(const std::string& path) {
    LFile::FolderIterator files;
    return Rest(files, files.Open(path.c_str()));
  }

  fs::path folder_;
};

TEST_F(FolderIterator, StopsAtMatchingNamesInAnyCase) {
  for (const char* name : {".hidden", "__MACOSX", "__MACOSX.txt", "__macosx", "a.txt", "B.TXT",
                           "caf\xC3\xA9.mov", "\xFF\xFE.mov", "a"}) {
    Make(name);
  }
  fs::create_directory(folder_ / "folder.mov");
  fs::create_symlink("folder.mov", folder_ / "link.mov");
  EXPECT_EQ(Matching("*"), Names({"__macosx", "a.txt", "B.TXT", "caf\xC3\xA9.mov", "\xFF\xFE.mov",
                                  "a", "folder.mov", "link.mov"}));
  EXPECT_EQ(Matching("*.Txt"), Names({"a.txt", "B.TXT"}));
  EXPECT_EQ(Matching("??.mov"), Names({"\xFF\xFE.mov"}));
  EXPECT_EQ(Matching("CAF\xC3\xA9*"), Names({"caf\xC3\xA9.mov"}));
  EXPECT_EQ(Matching("CAF\xC3\x89*"), Names());  // no locale makes these the same
  EXPECT_EQ(Matching(".*"), Names());
  EXPECT_EQ(Matching("a" + std::string(258, '*') + "never looked at"), Names({"a", "a.txt"}));
  LFile::FolderIterator files;
  for (bool isAt = files.Open(folder_.c_str()); isAt; isAt = files.Next()) {
    EXPECT_EQ(files.IsFolder(), files.GetFileName() == std::string("folder.mov"));
  }
}

TEST_F(FolderIterator, OpensFilesFoldersAndNothingElse) {
  for (const char* name : {"a.txt", "A.TXT", "b.txt", ".hidden", "b*", "back\\slash"})
    Make(name);
  fs::create_directory(folder_ / "empty");
  fs::create_symlink("b.txt", folder_ / "link");
  fs::create_symlink("nowhere", folder_ / "dangling");
  mkfifo(Path("pipe").c_str(), 0600);
  EXPECT_EQ(At(Path("b.txt")), Names({"b.txt"}));
  EXPECT_EQ(At(Path("a.txt")), Names({"a.txt", "A.TXT"}));
  EXPECT_EQ(At(Path("b*")), Names({"b*", "b.txt", "back\\slash"}));
  EXPECT_EQ(At(Path("link")), Names({"link"}));
  for (const char* name : {"empty", ".hidden", "back\\slash", "dangling", "pipe", "missing"})
    EXPECT_EQ(At(Path(name)), Names()) << name;
  EXPECT_EQ(At(""), Names());
  EXPECT_EQ(At(Path(std::string(260, '/') + "b.txt")), Names());
  LFile::FolderIteratorAllFiles all;
  const Names whole = Rest(all, all.Open(Path("b.txt").c_str()));
  EXPECT_TRUE(whole.size() == 12 && whole.contains("..") && whole.contains(".hidden"));

  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  LFile::FolderIterator files;
  char path[260];
  EXPECT_TRUE(files.Open("b.txt") && files.GetFilePath(path));
  EXPECT_STREQ(path, "b.txt");
  fs::current_path(before);
  // An open one is opened again, with what it has kept.
  EXPECT_TRUE(files.Open(folder_.c_str(), "b.*"));
  EXPECT_EQ(Rest(files, files.Open(files.GetFolder(), files.GetPattern())), Names({"b.txt"}));
}

TEST_F(FolderIterator, GivesNoPathThatWouldBeCut) {
  const std::string deep = Path(std::string(180, 'd'));
  fs::create_directory(deep);
  const std::size_t room = 259 - deep.size() - 1;
  for (const auto& [length, isPath] : {std::pair{room, true}, {room + 1, false}}) {
    const std::string name(length, 'n');
    const fs::path whole = fs::path(deep) / name;
    const std::ofstream file(whole);
    LFile::FolderIterator files;
    char path[260];
    ASSERT_TRUE(files.Open(deep.c_str(), name.c_str()));
    EXPECT_EQ(files.GetFilePath(path), isPath);
    EXPECT_EQ(path, isPath ? whole.string() : "");
  }
}

TEST_F(FolderIterator, SizesAddUpWithoutFollowingLinks) {
  fs::create_directories(folder_ / "a/b");
  for (const auto& [name, size] :
       {std::pair{"a/one", 1}, {"a/.two", 20}, {"a/b/ONE", 300}, {"a/One", 4'000}}) {
    Make(name, static_cast<std::size_t>(size));
  }
  fs::create_symlink("..", folder_ / "a/b/up");
  fs::create_symlink("one", folder_ / "a/link");
  fs::create_symlink("a", folder_ / "linked");
  mkfifo(Path("a/pipe").c_str(), 0600);
  EXPECT_EQ(Size("a"), 4'021U);
  EXPECT_EQ(Size("linked", true), 4'321U);
  EXPECT_EQ(Size("a/one", true), 4'001U);
  EXPECT_EQ(Size("a/.two"), 20U);
  EXPECT_EQ(Size("a/missing", true), 0U);
  fs::resize_file(folder_ / "a/b/ONE", 5'000'000'000);  // nearly nothing of it stored
  EXPECT_EQ(Size("a", true), 5'000'004'021U);
}

}  // namespace
