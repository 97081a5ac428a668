// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "foundation/files/file.h"
#include "platform/linux/mounttable.h"

namespace fs = std::filesystem;

namespace {

template <class Function, class... Arguments>
std::string Get(Function function, Arguments... arguments) {
  char path[260];
  function(path, arguments...);
  return path;
}

/// The permissions of a file, or -1.
int Mode(const fs::path& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
}

void MakeFile(const fs::path& path) {
  const std::ofstream file(path);
}

/// A home folder of its own, in a process whose new folders are closed to others.
class Folders : public testing::Test {
 protected:
  Folders() {
    std::string name = fs::temp_directory_path() / "homeXXXXXX";
    home_ = mkdtemp(name.data());
    setenv("HOME", (home_.string() + "//").c_str(), 1);
    umask(077);
  }
  ~Folders() override { fs::remove_all(home_); }

  bool CreateTree(const std::string& name) {
    return LFile::CreateFolderTree((home_ / name).c_str());
  }

  fs::path home_;
};

TEST_F(Folders, OfTheUserAreMadeUnderTheHomeFolder) {
  const std::string data = "/Library/Application Support", app = data + "/LZorvex";
  const auto appSub = [](char* dest) { LFile::GetUserDataFolderAppSubFolder("sub/x", dest); };
  const auto sharedSub = [](char* dest) { LFile::GetSharedDataFolderAppSubFolder("sub", dest); };
  struct {
    void (*function)(char*);
    std::string folder;
    int mode;
  } const cases[] = {{LFile::GetUserFolder, "", 0700},
                     {LFile::GetSharedDataFolderAppNoWarn, data + "/Vantrel/LZorvex", 0777},
                     {sharedSub, app + "/Shared/sub", 0777},
                     {LFile::GetSharedDataFolderApp, app + "/Shared", 0700},
                     {appSub, app + "/sub/x", 0700},
                     {LFile::GetUserDataFolderApp, app, 0700},
                     {LFile::GetUserDataFolder, data, 0700},
                     {LFile::GetSharedDataFolder, data, 0700},
                     {LFile::GetTempFolder, "/Library/Caches", 0700},
                     {LFile::GetUserMusicFolder, "/Music", 0700},
                     {LFile::GetUserVideoFolder, "/Movies", 0700},
                     {LFile::GetUserPicturesFolder, "/Pictures", 0700},
                     {LFile::GetUserApplicationsFolder, "/Applications", 0700},
                     {LFile::GetUserDocumentsFolder, "/Documents", 0700},
                     {LFile::GetUserDesktopFolder, "/Desktop", 0700},
                     {LFile::GetUserDownloadFolder, "/Downloads", 0700}};
  for (const auto& [function, folder, mode] : cases) {
    EXPECT_EQ(Get(function), home_.string() + folder);
    EXPECT_EQ(Mode(home_.string() + folder), mode) << folder;
  }
  EXPECT_EQ(Mode(home_.string() + data + "/Vantrel"), 0777);

  // What is there already stays as its owner set it.
  chmod((home_.string() + app + "/Shared/sub").c_str(), 0750);
  Get(sharedSub);
  EXPECT_EQ(Mode(home_.string() + app + "/Shared/sub"), 0750);
}

TEST_F(Folders, NotUnderTheHomeFolderAreNotMade) {
  EXPECT_EQ(Get(LFile::GetApplicationsFolder), "/Applications");
  const fs::path program = fs::read_symlink("/proc/self/exe").parent_path();
  EXPECT_EQ(Get(LFile::GetHelpFolder), program / "Contents/Resources/help");
  EXPECT_FALSE(fs::exists(program / "Contents"));
  setenv("HOME", "/proc/nowhere", 1);
  EXPECT_EQ(Get(LFile::GetSharedDataFolderAppNoWarn),
            "/proc/nowhere/Library/Application Support/Vantrel/LZorvex");
  EXPECT_TRUE(fs::is_empty(home_));
}

TEST_F(Folders, OfTheUserComeFromTheEnvironmentOrTheDatabase) {
  const std::string ofDatabase = getpwuid(getuid())->pw_dir;
  const std::string longest = "/" + std::string(400, 'h');
  for (const auto& [value, home] : {std::pair<std::string, std::string>{"", ofDatabase},
                                    {"//", "/"},
                                    {"/a/", "/a"},
                                    {longest, longest.substr(0, 259)}}) {
    setenv("HOME", value.c_str(), 1);
    EXPECT_EQ(Get(LFile::GetUserFolder), home);
  }
  unsetenv("HOME");
  EXPECT_EQ(Get(LFile::GetUserFolder), ofDatabase);
}

TEST_F(Folders, TreesAreCreatedOnce) {
  EXPECT_TRUE(CreateTree("a/b//c/"));
  EXPECT_EQ(Mode(home_ / "a/b/c"), 0700);
  EXPECT_TRUE(CreateTree("a\\b"));  // a character like others to the system
  MakeFile(home_ / "file");
  for (const std::string name : {"a/b/c", "a", "", "file", "file/x", "/"}) {
    EXPECT_FALSE(CreateTree(name)) << name;
  }
  EXPECT_FALSE(CreateTree("new/" + std::string(250, 'x')));
  EXPECT_FALSE(fs::exists(home_ / "new"));

  std::atomic<int> created = 0;
  const auto create = [&] { created += CreateTree("x/y/z/x/y/z") ? 1 : 0; };
  { const std::jthread threads[] = {std::jthread(create), std::jthread(create)}; }
  EXPECT_EQ(created, 1);
}

TEST_F(Folders, AreOpenedToAllWithoutLeavingThem) {
  const fs::path top = home_ / "top", outside = home_ / "outside";
  std::string deep = top / "deep";
  for (int depth = 2; depth <= 131; ++depth) {
    deep += "/d";
  }
  fs::create_directories(deep);
  fs::create_directories(top / "closed/folder");
  fs::create_directory(outside);
  MakeFile(outside / "file");
  MakeFile(top / "closed/folder/file");
  mkfifo((top / "fifo").c_str(), 0600);
  fs::create_symlink(outside, top / "link");
  fs::create_symlink(outside / "file", top / "filelink");
  fs::create_symlink("nowhere", top / "dangling");
  chmod((top / "closed/folder").c_str(), 0);
  chmod((top / "closed").c_str(), 0);
  const int descriptor = dup(0);

  EXPECT_FALSE(LFile::SetFolderSecurityAllAccess(top.c_str()));  // deeper than it goes
  for (const char* const name : {"", "closed", "closed/folder", "closed/folder/file", "fifo"}) {
    EXPECT_EQ(Mode(top / name), 0777) << name;
  }
  EXPECT_EQ(Mode(outside), 0700);
  EXPECT_EQ(Mode(outside / "file"), 0600);
  EXPECT_EQ(Mode(fs::path(deep).parent_path()), 0777);
  EXPECT_EQ(Mode(deep), 0700);
  fs::remove_all(top / "deep");
  EXPECT_TRUE(LFile::SetFolderSecurityAllAccess(top.c_str()));
  EXPECT_TRUE(LFile::SetFolderSecurityAllAccess((outside / "file").c_str()));
  EXPECT_FALSE(LFile::SetFolderSecurityAllAccess((top / "link").c_str()));
  EXPECT_EQ(Mode(outside), 0700);
  EXPECT_FALSE(LFile::SetFolderSecurityAllAccess((top / "nowhere").c_str()));
  EXPECT_EQ(dup(0), descriptor + 1);  // none was kept
}

TEST_F(Folders, AreOnVolumes) {
  const auto driveOf = [](const std::string& path) {
    return Get(LFile::GetHumanReadableDriveFromPath, path.c_str());
  };
  for (const std::string& path : {std::string("/"), std::string("/proc/self/fd"), home_.string()}) {
    const std::string drive = driveOf(path);
    ASSERT_TRUE(path.starts_with(drive)) << path << " is not on " << drive;
    struct stat ofPath = {}, ofDrive = {};
    EXPECT_EQ(stat(path.c_str(), &ofPath) + stat(drive.c_str(), &ofDrive), 0) << drive;
    EXPECT_EQ(ofPath.st_dev, ofDrive.st_dev) << path << " is not on " << drive;
  }
  EXPECT_EQ(driveOf("/proc/self/fd"), "/proc");
  const std::string cases[][2] = {{"C:\\x", "C:\\"}, {"/nowhere/x", "/"}, {"", ""},
                                  {"\\nowhere", ""}, {"\xC3\xA9:\\", ""}, {"Ab1-c", "Ab1:\\"}};
  for (const auto& [path, drive] : cases)
    EXPECT_EQ(driveOf(path), drive);
  for (const char* const path : {"/proc", "/nowhere", ""}) {
    EXPECT_EQ(LFile::GetVolumeFileSizeLimit(path), 2) << path;
  }
}

TEST(MountTable, FindsAMountByItsNumber) {
  const std::string longPath(300, 'p');
  const std::string text =
      "36 1 8:1 / / rw - ext4 /dev/a rw,x=" + std::string(5000, 'o') +
      "\n3 36 0:5 /36 /my\\040disk\\134x\\011 rw,36 shared:1 master:2 - vfat /dev/b rw\n"
      "4 36 0:6 / /" +
      longPath + " rw - fuse.x x rw\n\n7 36 0:7 /";
  struct {
    unsigned long id;
    bool isFound;
    std::string mountPoint, typeName;
  } const cases[] = {{36, true, "/", "ext4"},
                     {3, true, "/my disk\\x\t", "vfat"},
                     {4, true, ("/" + longPath).substr(0, 259), "fuse.x"},
                     {6, false, "", ""},
                     {0, false, "", ""},
                     {7, true, "", ""}};
  for (const auto& [id, isFound, mountPoint, typeName] : cases) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
    std::fputs(text.c_str(), file.get());
    std::rewind(file.get());
    Volume volume = {};
    EXPECT_EQ(MountTable(fileno(file.get())).Find(id, volume), isFound) << id;
    EXPECT_EQ(volume.mountPoint, mountPoint);
    EXPECT_EQ(volume.typeName, typeName);
  }
}

}  // namespace
