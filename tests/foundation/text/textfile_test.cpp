// SPDX-License-Identifier: MIT
#include "foundation/text/textfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <time.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "foundation/files/file.h"
#include "platform/uniquefd.h"

namespace {

unsigned int slept = 0;  // milliseconds
std::function<void()> whileSleeping = [] {};

}  // namespace

// In place of sleeping.
extern "C" int clock_nanosleep(clockid_t, int, const timespec* time, timespec*) {
  slept += static_cast<unsigned int>(time->tv_sec * 1000 + time->tv_nsec / 1'000'000);
  whileSleeping();
  return 0;
}

namespace {

using Long = LStringLongTemplate<char>;
using Load = bool (*)(const char*, Long&);

std::string Content(const Long& text) {
  return {text.Text(), text.Length()};
}

class TextFileTest : public testing::Test {
 protected:
  TextFileTest() {
    char name[] = "/var/tmp/textfile-XXXXXX";
    folder_ = mkdtemp(name);
    path_ = folder_ + "/text";
    slept = 0;
    whileSleeping = [] {};
  }
  ~TextFileTest() override { std::filesystem::remove_all(folder_); }

  void Write(const std::string& content) const {
    std::ofstream(path_, std::ios::binary) << content;
  }
  std::string Read() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string Loaded(Load load) const {
    Long text = "what was here before";
    EXPECT_TRUE(load(path_.c_str(), text));
    return Content(text);
  }
  /// Whether files here can have attributes at all.
  bool HasAttributes() const {
    const std::string probe = folder_ + "/probe";
    std::ofstream{probe};
    return setxattr(probe.c_str(), "user.probe", "x", 1, 0) == 0;
  }
  std::string Attribute(const char* name) const {
    char value[64];
    const ssize_t size = getxattr(path_.c_str(), name, value, sizeof value);
    return size < 0 ? "none" : std::string(value, static_cast<std::size_t>(size));
  }

  std::string folder_;
  std::string path_;
};

TEST_F(TextFileTest, LoadsByMarks) {
  const std::string zero(1, 0);
  const struct {
    std::string file, automatic, unicode, utf16;
  } rows[] = {{"", "", "", ""},
              {"a", "a", "", ""},
              {"\xFF\xFE", "", "", "\xEF\xBB\xBF"},
              {"\xFE\xFF", "", "", "\xEF\xBF\xBE"},
              {"\xFF\xFE\x41" + zero, "A", "A",
               "\xEF\xBB\xBF"
               "A"},
              {"\xFF\xFE\x41", "A", "", "\xEF\xBB\xBF"},  // an odd byte, completed or left
              {"\xFE\xFF" + zero + "\x41", "A", "A", "\xEF\xBF\xBE\xE4\x84\x80"},
              {"\xFE\xFF" + zero + "\x41\x4E", "A\xE4\xB8\x80", "A", "\xEF\xBF\xBE\xE4\x84\x80"},
              {"\xFF\xFE\xFF\xFE\x41" + zero,
               "\xEF\xBB\xBF"
               "A",
               "\xEF\xBB\xBF"
               "A",
               "\xEF\xBB\xBF\xEF\xBB\xBF"
               "A"},
              {"\xFF\xFE\x3D\xD8" + zero + "\xDE", "\xED\xA0\xBD\xED\xB8\x80",
               "\xED\xA0\xBD\xED\xB8\x80", "\xEF\xBB\xBF\xED\xA0\xBD\xED\xB8\x80"},
              {"\xEF\xBB\xBF", "", "\xEB\xAF\xAF", "\xEB\xAF\xAF"},
              {"\xEF\xBB\xBF"
               "a",
               "a", "\xEB\xAF\xAF\xE6\x86\xBF", "\xEB\xAF\xAF\xE6\x86\xBF"},
              {"\xEF\xBB", "\xEF\xBB", "\xEB\xAF\xAF", "\xEB\xAF\xAF"},
              {"a" + zero + "b" + zero, "a" + zero + "b" + zero, "ab", "ab"},
              {"\x80\xC3", "\x80\xC3", "\xEC\x8E\x80", "\xEC\x8E\x80"}};
  for (const auto& row : rows) {
    Write(row.file);
    EXPECT_EQ(Loaded(LLoadText), row.file);
    EXPECT_EQ(Loaded(LLoadTextAutoChar), row.automatic) << row.file;
    EXPECT_EQ(Loaded(LLoadTextUnicode), row.unicode) << row.file;
    EXPECT_EQ(Loaded(LLoadTextAsUTF16), row.utf16) << row.file;
  }
}

TEST_F(TextFileTest, OnlyOpeningFails) {
  for (const Load load : {LLoadText, LLoadTextAsUTF16, LLoadTextUnicode, LLoadTextAutoChar}) {
    Long text = "before";
    EXPECT_FALSE(load(path_.c_str(), text));
    EXPECT_STREQ(text.Text(), "before");
    EXPECT_TRUE(load(folder_.c_str(), text)) << "a folder opens";
    EXPECT_STREQ(text.Text(), "") << "and has nothing to be read";
    EXPECT_TRUE(load("/dev/null", text));
  }
  for (const std::string& path : {folder_, folder_ + "/missing/file"}) {
    EXPECT_EQ(LSaveText(path.c_str(), "x"), path == folder_ && HasAttributes())
        << "the mark is tried all the same";
    EXPECT_FALSE(LSaveTextAsUnicodeBOM(path.c_str(), "x"));
  }
}

TEST_F(TextFileTest, SavesReplaceOrAppendAndMark) {
  const std::string mark = HasAttributes() ? "utf-8;134217984" : "none";
  const std::string zero(1, 0);
  const mode_t before = umask(022);
  EXPECT_TRUE(LSaveAppendText(path_.c_str(), "one "));
  umask(before);
  struct stat status = {};
  EXPECT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0644U);
  Long text;
  text.Append(("two" + zero).c_str(), 4);
  EXPECT_TRUE(LSaveAppendText(path_.c_str(), text));
  EXPECT_EQ(Read(), "one two" + zero);
  EXPECT_EQ(Attribute("user.com.apple.TextEncoding"), mark);
  EXPECT_TRUE(LSaveText(path_.c_str(), text));
  EXPECT_EQ(Read(), "two" + zero);
  EXPECT_TRUE(LSaveText(path_.c_str(), Long()));
  EXPECT_EQ(Read(), "");
  std::filesystem::remove(path_);
  EXPECT_TRUE(LSaveTextAsUnicodeBOM(path_.c_str(), "A\xC3\xA9\xF0\x9F\x98\x80"));
  EXPECT_EQ(Read(), "\xFF\xFE\x41" + zero + "\xE9" + zero + zero + "\xF6");
  EXPECT_EQ(Attribute("user.com.apple.TextEncoding"), "none");
  EXPECT_TRUE(LSaveTextAsUnicodeBOM(path_.c_str(), Long()));
  EXPECT_EQ(Read(), "\xFF\xFE");
  EXPECT_FALSE(LFile::SetFileAttributeTextEncodingUTF8((path_ + "missing").c_str()));
  setxattr(path_.c_str(), "user.com.apple.quarantine", "x", 1, 0);
  EXPECT_EQ(LFile::RemoveFileAttributeQuarantine(path_.c_str()), HasAttributes());
  EXPECT_EQ(Attribute("user.com.apple.quarantine"), "none");
  EXPECT_FALSE(LFile::RemoveFileAttributeQuarantine(path_.c_str()));
}

// Where no mark is possible the writing counts, else the mark alone.
TEST_F(TextFileTest, TellsOfAFullDiskOnlyWhereThereIsNoMark) {
  EXPECT_TRUE(LSaveText("/dev/null", "text"));
  EXPECT_FALSE(LSaveText("/dev/full", "text"));
  EXPECT_FALSE(LSaveAppendText("/dev/full", "text"));
  rlimit before = {};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small = {.rlim_cur = 3, .rlim_max = before.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  const bool isSaved = LSaveText(path_.c_str(), "longer text");
  EXPECT_TRUE(LSaveTextAsUnicodeBOM((path_ + "2").c_str(), "longer text"));
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(isSaved, HasAttributes());
  EXPECT_EQ(Read(), "lon");
}

TEST_F(TextFileTest, LocksAreWaitedForAndThenPassedOver) {
  Long text;
  const std::function<bool()> calls[] = {
      [&] { return LLoadText(path_.c_str(), text); },
      [&] { return LLoadTextAsUTF16(path_.c_str(), text); },
      [&] { return LLoadTextUnicode(path_.c_str(), text); },
      [&] { return LLoadTextAutoChar(path_.c_str(), text); },
      [&] { return LSaveText(path_.c_str(), "saved"); },
      [&] { return LSaveAppendText(path_.c_str(), "saved"); },
      [&] { return LSaveTextAsUnicodeBOM(path_.c_str(), "saved"); }};
  for (std::size_t i = 0; i < std::size(calls); ++i) {
    Write("before");
    const bool isLoad = i < 4;
    const UniqueFd holder(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(holder.Get(), LOCK_SH), 0);
    slept = 0;
    if (isLoad) {
      EXPECT_TRUE(calls[i]());
      EXPECT_EQ(slept, 0U) << "shared with others";
      ASSERT_EQ(flock(holder.Get(), LOCK_EX), 0);
    }
    whileSleeping = [&] { EXPECT_EQ(Read(), "before") << "not truncated while it waits"; };
    EXPECT_TRUE(calls[i]());
    EXPECT_EQ(slept, isLoad ? 992U : 496U) << i;
    EXPECT_EQ(Read() == "before", isLoad);
    EXPECT_EQ(flock(holder.Get(), LOCK_EX | LOCK_NB), 0) << "released by the close";
  }
}

TEST_F(TextFileTest, AFileThatIsCutBetweenSizeAndReadEndsInZeros) {
  // In /proc the size is no promise: this file says 4096 and has less.
  Long text;
  EXPECT_TRUE(LLoadText("/sys/kernel/mm/transparent_hugepage/enabled", text));
  struct stat status = {};
  if (stat("/sys/kernel/mm/transparent_hugepage/enabled", &status) != 0)
    GTEST_SKIP() << "needs /sys of Linux";
  const std::string content = Content(text);
  EXPECT_EQ(content.size(), static_cast<std::size_t>(status.st_size));
  const std::size_t end = content.find('\0');
  ASSERT_LT(end, content.size());
  EXPECT_EQ(content.find_first_not_of('\0', end), std::string::npos);
  EXPECT_TRUE(LLoadText("/proc/self/status", text));
  EXPECT_EQ(text.Length(), 0U) << "no size, no text";
}

}  // namespace
