// SPDX-License-Identifier: MIT
#include "foundation/system/application.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "foundation/files/file.h"
#include "foundation/system/versions.h"
#include "platform/application.h"
#include "platform/uniquefd.h"
#include "tests/support/foldertest.h"

namespace {

namespace fs = std::filesystem;

using ApplicationTest = FolderTest;

TEST_F(ApplicationTest, TheRunningProgramItsFolderAndItsResources) {
  const fs::path program = fs::read_symlink("/proc/self/exe");
  char text[260];
  LStringLongTemplate<char> string = "something that is longer than what it is replaced by";
  const auto expect = [&](bool isFixed, bool isGrown, const std::string& expected) {
    EXPECT_TRUE(isFixed && isGrown);
    EXPECT_EQ(text, expected);
    EXPECT_EQ(string.Text(), expected);
  };
  const fs::path folder = program.parent_path(), resources = folder / "Contents/Resources";
  expect(LApplicationGetPath(text), LApplicationGetPath(string), program);
  expect(LApplicationGetFolder(text), LApplicationGetFolder(string), folder);
  expect(LApplicationGetResourceFolder(text), LApplicationGetResourceFolder(string), resources);
  expect(LLibraryGetPath(text), LLibraryGetPath(string), program);  // linked into this test
  utsname kernel = {};
  uname(&kernel);
  EXPECT_TRUE(LSystemGetVersionText(text));
  EXPECT_TRUE(std::string(text).ends_with(std::string("Linux ") + kernel.release)) << text;
  EXPECT_GE(LVersionCompare(LLibraryGetVersion(), "0.1"), 0);
}

TEST_F(ApplicationTest, FilesThatAreGoneHaveThePathThatTheyHad) {
  for (const char* const name : {"code", "code (deleted)"}) {
    Write(name, std::string(4096, 'x'));
    const UniqueFd file(open((root_ / name).c_str(), O_RDONLY | O_CLOEXEC));
    void* const code = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE, file.Get(), 0);
    char path[260];
    EXPECT_TRUE(ReadModulePath(code, path, sizeof path));
    EXPECT_EQ(path, root_ / name);
    fs::remove(root_ / name);
    EXPECT_TRUE(ReadModulePath(code, path, sizeof path));
    EXPECT_EQ(path, root_ / name);
    munmap(code, 4096);
    EXPECT_FALSE(ReadModulePath(code, path, sizeof path));
    EXPECT_STREQ(path, "");
  }
}

TEST_F(ApplicationTest, InstalledApplications) {
  Write("bin/player", "", true);
  Write("bin/with space", "", true);
  Write("bin/data", "");
  const std::string entry = "[Desktop Entry]\nType=Application\n";
  const auto write = [&](const char* id, const std::string& text) {
    Write(std::string("share/applications/") + id + ".desktop", text);
  };
  write("org.Player", "# x\nExec=wrong\n" + entry +
                          " Name = The\\sPlayer \r\nName[de]=Abspieler\nExec=player --new %U\n"
                          "Icon=player\n[Desktop Action X]\nExec=other\n");
  mkfifo((root_ / "share/applications/pipe.desktop").c_str(), 0600);
  write("quoted",
        entry + "Exec=\"" + root_.string() + "/bin/with\\\\ space\" %f\nTryExec=player\n");
  write("unrunnable", entry + "Exec=data\n");
  write("absent", entry + "Exec=player\nTryExec=absent\n");
  write("link", "[Desktop Entry]\nType=Link\nExec=player\n");
  write("broken", "Exec=player\n[[[\n=\n[Desktop Entry\nType=Application\n");
  write("hidden", entry + "Exec=player\n");
  Write("home/applications/hidden.desktop", entry + "Hidden=true\n");
  Write("share/metainfo/org.Player.metainfo.xml",
        "<?xml version=\"1.0\"?><component><id>x</id><releases><release version=\"2.10\"/>"
        "<release version=\"2.9\"/></releases></component>");
  Write("share/metainfo/quoted.appdata.xml", "<component><releases>");
  setenv("PATH", (root_ / "bin").c_str(), 1);
  setenv("XDG_DATA_HOME", (root_ / "home").c_str(), 1);
  setenv("XDG_DATA_DIRS", ("relative::" + (root_ / "share").string()).c_str(), 1);
  struct {
    const char* id;
    const char* path;  // below the folder of programs; null when there is none
    const char* name = "";
    const char* version = "";
  } const cases[] = {
      {"org.Player", "player", "The Player", "2.10"},
      {"org.Player.desktop", "player", "The Player", "2.10"},
      {"quoted", "with space"},
      {"player", "player"},
      {"with space", "with space"},
      {"player.desktop", nullptr},
      {"unrunnable", nullptr},
      {"absent", nullptr},
      {"link", nullptr},
      {"broken", nullptr},
      {"pipe", nullptr},
      {"hidden", nullptr},
      {"data", nullptr},
      {"../bin/player", nullptr},
      {"", nullptr},
  };
  for (const auto& each : cases) {
    LInstalledApplication application;
    EXPECT_EQ(LApplicationFind(each.id, application), each.path != nullptr) << each.id;
    const fs::path path = each.path == nullptr ? fs::path() : root_ / "bin" / each.path;
    EXPECT_EQ(application.path, path.string()) << each.id;
    EXPECT_STREQ(application.name, each.name) << each.id;
    EXPECT_STREQ(application.version, each.version) << each.id;
  }
}

TEST(VersionTest, EveryPairIsInOrder) {
  // From old to new; those with a comma between them are the same.
  std::istringstream ascending(
      "dev;,0,0.0,...,+5;unknown;0.9;1.0-alpha,1-ALPHA,1.0.0alpha;1.0-alpha.2;1.0b2,1.b2;1.0-beta;"
      "1.0rc1,1.0.0-rc.1,v1.0 RC01;1.0rc2;1.0rc10;1.0,1,v1.0.0,01.00,1.0+git5,1_0-0;1.0a,1.0.0A;"
      "1.0-git;1.0.0.5;1.0.1;1.9;1.10-beta;1.10;1.99999999999999999998;1.99999999999999999999;"
      "1.100000000000000000000,1.00100000000000000000000;2");
  std::vector<std::pair<std::string, int>> versions;
  int age = 0;
  for (std::string group; std::getline(ascending, group, ';'); ++age) {
    std::istringstream texts(group);
    for (std::string text; std::getline(texts, text, ',');)
      versions.emplace_back(text, age);
  }
  ASSERT_EQ(age, 23);
  for (const auto& [left, leftAge] : versions) {
    EXPECT_EQ(LVersionCompare(left.c_str(), nullptr), LVersionCompare(left.c_str(), "0"));
    for (const auto& [right, rightAge] : versions) {
      const int order = LVersionCompare(left.c_str(), right.c_str());
      EXPECT_EQ((order > 0) - (order < 0), (leftAge > rightAge) - (leftAge < rightAge))
          << left << " and " << right;
    }
  }
}

}  // namespace
