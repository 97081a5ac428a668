// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "foundation/files/file.h"
#include "foundation/files/wallpaper.h"
#include "foundation/system/shell.h"
#include "platform/birthtime.h"

namespace fs = std::filesystem;

namespace {
long daysLater = 0;
}  // namespace

/// The clock of this program, in place of the C library's: files cannot be made in the past.
extern "C" time_t time(time_t* result) noexcept {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  now.tv_sec += daysLater * 86400;
  return result != nullptr ? *result = now.tv_sec : now.tv_sec;
}

namespace {

class OldAndDesktopFiles : public testing::Test {
 protected:
  OldAndDesktopFiles() {
    home_ = fs::temp_directory_path() / "desktopXXXXXX";
    setenv("HOME", mkdtemp(home_.data()), 1);
  }
  ~OldAndDesktopFiles() override { fs::remove_all(home_); }
  void Write(const std::string& name, const std::string& text) const {
    const fs::path path = home_ + "/" + name;
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
    fs::permissions(path, fs::perms::owner_all);
  }
  /// What the programs wrote down that were made here.
  [[nodiscard]] std::string Told() const {
    std::ifstream file(home_ + "/told");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string home_;
};

TEST_F(OldAndDesktopFiles, TheRecycleBinsAreTheUsersAndTheDesktops) {
  struct {
    const char *file, *dataFolder;  // XDG_DATA_HOME, in the home folder where it begins with `/`
    bool isEmpty;
  } const cases[] = {{"nothing", "", true},
                     {".Trash/.DS_Store", "", true},
                     {".Trash/.hidden", "", false},
                     {".local/share/Trash/info/x.trashinfo", "", true},
                     {".local/share/Trash/files/x", "relative", false},
                     {".local/share/Trash/files/x", "/data", true},
                     {"data/Trash/files/x", "/data", false}};
  for (const auto& [file, dataFolder, isEmpty] : cases) {
    Write(file, "");
    setenv("XDG_DATA_HOME", ((*dataFolder == '/' ? home_ : "") + dataFolder).c_str(), 1);
    EXPECT_EQ(LFile::IsRecycleBinEmpty(), isEmpty) << file << " " << dataFolder;
    for (const auto& entry : fs::directory_iterator(home_))
      fs::remove_all(entry);
  }
}

TEST_F(OldAndDesktopFiles, WallpaperCommandsCarryWhatTheyCanQuote) {
  const std::string database =
      "sqlite3 ~/Library/Application\\ Support/Dock/desktoppicture.db \"update data set value = '";
  const std::string setting =
      "defaults write com.apple.desktop Background '{default = {ImageFilePath = \"";
  char command[260];
  for (const SystemVersion& version : {SystemVersion{0, 0}, {10, 8}, {10, 9}, {11, 0}}) {
    const bool isDatabase = version.major * 100 + version.minor > 1008;
    const std::string head = isDatabase ? database : setting;
    const std::string tail = isDatabase ? "'\"" : "\"; };}'";
    const std::string longest(259 - head.size() - tail.size(), 'x');
    using Pair = std::pair<std::string, std::string>;
    for (const auto& [path, quoted] :
         {Pair("/\303\244 %s", "/\303\244 %s"), {"\"`", "\\\"\\`"}, {longest, longest}}) {
      EXPECT_TRUE(FormWallpaperCommand(command, version, path.c_str())) << path;
      EXPECT_EQ(command, std::string(head).append(quoted).append(tail));
    }
    for (const std::string& path : {longest + "x", std::string(300, '`'), std::string("/a'b"),
                                    std::string("$a"), std::string("\\"), std::string("a\nb")}) {
      EXPECT_FALSE(FormWallpaperCommand(command, version, path.c_str())) << path;
    }
  }
}

TEST_F(OldAndDesktopFiles, TheWallpaperIsSetByTheSystemsProgram) {
  setenv("PATH", (home_ + "/bin:" + std::getenv("PATH")).c_str(), 1);
  const std::string program = "#!/bin/sh\nprintf '%s\\n' \"$@\" >> \"$HOME/told\"\n";
  const std::string image = home_ + "/a `\"b.png";
  const std::string escaped = home_ + "/a \\`\\\"b.png";  // for the program, which reads it so
  for (const char* const name : {"bin/defaults", "bin/sqlite3"})
    Write(name, program);
  EXPECT_FALSE(LFile::SetDesktopWallpaper(image.c_str()) ||
               LFile::SetDesktopWallpaper(home_.c_str()));
  Write("a `\"b.png", "");
  EXPECT_EQ(Told(), "");
  EXPECT_TRUE(LFile::SetDesktopWallpaper(image.c_str()));
  EXPECT_NE(Told(), "");  // which of the two it was, the kernel's release says
  fs::remove(home_ + "/told");
  for (const int major : {10, 11}) {
    char command[260];
    ASSERT_TRUE(FormWallpaperCommand(command, {major, 0}, image.c_str()));
    EXPECT_TRUE(LRunShellCommand(command));
  }
  EXPECT_EQ(Told(), "write\ncom.apple.desktop\nBackground\n{default = {ImageFilePath = \"" +
                        escaped + "\"; };}\n" + home_ +
                        "/Library/Application Support/Dock/desktoppicture.db\n" +
                        "update data set value = '" + image + "'\n");
  for (const char* const name : {"bin/defaults", "bin/sqlite3"})
    Write(name, program + "exit 3");
  EXPECT_FALSE(LFile::SetDesktopWallpaper(image.c_str()));
}

TEST_F(OldAndDesktopFiles, OldOnesGoByTheirBirthWhateverTheirOtherTimes) {
  const fs::path folder = home_;
  struct {
    int days;
    long later;
    bool isDone, isDeleted;
  } const cases[] = {{30, 31, true, true}, {30, 29, true, false},    {1, 0, true, false},
                     {0, 9, false, false}, {20'000, 9, true, false}, {1, 2, true, true}};
  for (const auto& [days, later, isDone, isDeleted] : cases) {
    std::set<std::string> kept = {".h.txt", "__MACOSX.txt", "full.txt", "keep.doc"};
    if (!isDeleted) kept.insert({"a.txt", "B.TXT", "empty.txt", "link.txt"});
    if (!isDone) kept.insert("lost.txt");  // nothing is known of it, so it was created in 1970
    fs::create_directories(folder / "full.txt/x.txt");
    fs::create_directory(folder / "empty.txt");
    std::error_code ignored;
    fs::create_symlink("keep.doc", folder / "link.txt", ignored);
    fs::create_symlink("nowhere", folder / "lost.txt", ignored);
    for (const char* const name : {".h.txt", "__MACOSX.txt", "keep.doc", "B.TXT", "a.txt"}) {
      const std::ofstream file(folder / name);
      // Old ones that look young, and young ones that look old.
      const timespec times[2] = {{}, {isDeleted ? std::time(nullptr) : 86400, 0}};
      ASSERT_EQ(utimensat(AT_FDCWD, (folder / name).c_str(), times, 0), 0);
    }
    daysLater = later;
    EXPECT_EQ(LFile::DeleteOldFiles(home_.c_str(), "*.txt", days), isDone) << days;
    daysLater = 0;
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
      names.insert(entry.path().filename());
    EXPECT_EQ(names, kept) << days << " " << later;
  }
  EXPECT_FALSE(LFile::DeleteOldFiles((home_ + "/nowhere").c_str(), "*", 1));
  // Also where the file system keeps no birth.
  for (const char* const place : {"/", "/proc", "/dev/null"}) {
    long long birth = 0;
    struct stat status = {};
    ASSERT_EQ(stat(place, &status), 0);
    EXPECT_TRUE(ReadBirthTime(AT_FDCWD, place, birth) && birth > 0 && birth <= status.st_ctime);
  }
}

}  // namespace
