// SPDX-License-Identifier: MIT
// What these tests delete is in a folder of their own, and so is what a fault would delete.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <thread>

#include "foundation/files/file.h"
#include "foundation/threads/processinterface.h"
#include "platform/uniquefd.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A folder of its own to work in, which is the current one: in memory where there is such a place.
class Deleting : public testing::Test {
 protected:
  Deleting() {
    const bool isInMemory = std::getenv("TMPDIR") == nullptr && access("/dev/shm", W_OK) == 0;
    root_ = (isInMemory ? "/dev/shm" : fs::temp_directory_path().string()) + "/deleteXXXXXX";
    fs::current_path(mkdtemp(root_.data()));
  }
  ~Deleting() override {
    fs::current_path("/");
    Sh("rm -rf " + root_ + " || { chattr -R -ia " + root_ + "; rm -rf " + root_ + "; }");
  }
  static int Run(const std::string& script) {
    return std::system((script + " </dev/null 2>/dev/null").c_str());  // NOLINT(cert-env33-c)
  }
  static void Sh(const std::string& script) { ASSERT_EQ(Run("{ " + script + "\n}"), 0) << script; }
  static std::set<std::string> Rest() {
    std::set<std::string> rest;
    for (const auto& entry : fs::recursive_directory_iterator(".")) {
      rest.insert(entry.path().string().substr(2));
    }
    return rest;
  }

  std::string root_;
};

/// Writes down what it is asked and told. Asked to stop the nth time, it wants to from then on.
class Recorder final : public LProcessInterface {
 public:
  explicit Recorder(int stopAt = INT_MAX) : stopAt_(stopAt) {}
  bool IsToStop() override {
    log += "? ";
    ++asked;
    if (onStop) onStop();
    return asked >= stopAt_;
  }
  int ProcessWait(unsigned int) override { return 0; }
  int ProcessWaitSignal(LSignalObjectRef, unsigned int) override { return 2; }
  int ProcessWaitSignalObjectGroup(LSignalObjectGroup&, unsigned int) override { return 2; }
  void SetStatus(const char* text, int line) override {
    log += std::string(text) + std::to_string(line) + " ";
  }
  void SetProgress(double fraction) override { log += std::to_string(fraction).substr(0, 3) + " "; }

  std::string log;
  int asked = 0;
  std::function<void()> onStop;

 private:
  int stopAt_;
};

int DeleteWithProcess(const char* path) {
  LProcessInterfaceVoid process;
  return LFile::DeleteFolderTree(process, path, 0);
}

bool (*const kFunctions[])(const char*) = {
    LFile::DeleteFolderTree, LFile::DeleteFolderTreeAlways,
    [](const char* path) { return LFile::DeleteFolderTree(path, 0U); },
    [](const char* path) { return DeleteWithProcess(path) == 0; }};

TEST_F(Deleting, ATreeLeavesWhatRmLeaves) {
  const std::string outside = "rm -rf * .[!.]*; mkdir -p o/sub; echo > o/keep; echo > o/sub/keep; ";
  struct {
    const char *setUp, *path;
    bool isLink = false;  // which is no folder to an operation with an interface
  } const cases[] = {
      {"mkdir -p t/a/b t/c; echo > t/a/f; echo > t/.hidden; mkfifo t/p; echo > t/-rf", "t//"},
      {"mkdir -p t/a; ln -s .. t/a/up; ln -s ../../o t/a/out; ln -s loop t/loop; ln o/keep t/h",
       "./t"},
      {R"x(mkdir -p "$(printf 't/\377\376/a\nb')"; echo > "$(printf 't/\303(\033')")x", "t"},
      {"mkdir t; chmod 0 t; mkdir t/s; echo > t/s/f; chmod 0400 t/s/f", "t"},
      {"mkdir t; seq 10000 | (cd t; xargs touch)", "t"},
      {"ln -s o t", "t", true},
      {"mkdir -p t/s", "t/s/.."},
      {"mkdir t", "t/."},
      {"", "t"},
      {"", ""}};
  for (const auto& [setUp, path, isLink] : cases) {
    Sh(outside + setUp);
    const bool isRemoved = Run(std::string("rm -r '") + path + "'") == 0;
    const std::set<std::string> expected = Rest();
    for (const auto function : kFunctions) {
      Sh(outside + setUp);
      const bool isLeft = isLink && function == kFunctions[3];
      EXPECT_EQ(function(path), isRemoved && !isLeft) << setUp;
      EXPECT_TRUE(isLeft || Rest() == expected) << setUp;
    }
  }
  Sh("rm -rf *; echo > f; ln -s f l; ln -s nowhere n; mkdir -p v/s; touch v/a v/.b; mkdir u");
  for (const char* const noFolder : {"f", "l", "n"}) {
    for (const auto function : kFunctions)
      EXPECT_FALSE(function(noFolder)) << noFolder;
  }
  EXPECT_FALSE(LFile::DeleteFolderAndFiles("v"));
  EXPECT_TRUE(LFile::DeleteFolderAndFiles("u/"));
  EXPECT_THAT(Rest(), ElementsAre("f", "l", "n", "v", "v/s"));
}

void MakeDeepTree(int depth, const std::string& name) {
  UniqueFd folder(open(".", O_RDONLY | O_CLOEXEC));
  for (; depth > 0; --depth) {
    ASSERT_EQ(mkdirat(folder.Get(), name.c_str(), 0777), 0);
    folder = UniqueFd(openat(folder.Get(), name.c_str(), O_RDONLY | O_CLOEXEC));
    close(openat(folder.Get(), "f", O_CREAT | O_WRONLY | O_CLOEXEC, 0666));
  }
}

/// With what is open already, the three that are needed, and a few to run out of.
bool DeleteWithFewDescriptors(bool (*function)(const char*), const char* path) {
  const rlim_t count = static_cast<rlim_t>(open("/", O_RDONLY)) + 8;
  const rlimit limit = {count, count};
  return setrlimit(RLIMIT_NOFILE, &limit) == 0 && function(path);
}

TEST_F(Deleting, DepthIsNotLimitedByPathsAndDescriptors) {
  for (const auto& [depth, length] : {std::pair(20, 1), {200, 200}, {2000, 1}}) {
    const std::string name(static_cast<std::size_t>(length), 'd');
    for (const auto function : {kFunctions[0], kFunctions[3]}) {
      MakeDeepTree(depth, name);
      EXPECT_EXIT(std::_Exit(DeleteWithFewDescriptors(function, name.c_str()) ? 0 : 1),
                  testing::ExitedWithCode(0), "");
      EXPECT_THAT(Rest(), IsEmpty()) << depth;
    }
  }
}

TEST_F(Deleting, AStopAfterAnyStepStopsEverything) {
  // The same whatever the order of the entries is.
  const std::string setUp = "rm -rf t; mkdir -p t/a/e t/b/e; echo > t/a/e/f; echo > t/b/e/f";
  const std::string wait = "Please wait...";
  const std::string half = "? " + wait + "1 ? ? " + wait + "2 ? ? ";
  const std::string all = wait + "0 ? " + half + "0.5 0.5 0.5 " + half + "1.0 1.0 1.0 ";
  for (int stopAt = 12; stopAt > 0; --stopAt) {
    Sh(setUp);
    Recorder process(stopAt);
    const bool isStopped = stopAt < 12;
    EXPECT_EQ(LFile::DeleteFolderTree(process, "t", 0), isStopped ? 1 : 0);
    EXPECT_TRUE(isStopped ? all.starts_with(process.log) : all == process.log) << process.log;
    EXPECT_EQ(process.asked, isStopped ? stopAt : 11);
    EXPECT_EQ(Rest().size(), !isStopped ? 0U : stopAt <= 6 ? 7U : 4U) << stopAt;
  }
  for (const char* const bad : {"", "nowhere"}) {
    Recorder process;
    EXPECT_EQ(LFile::DeleteFolderContents(process, bad, 0), 2);
    EXPECT_EQ(process.log, "");
  }
}

TEST_F(Deleting, ByAgeKeepsWhatWasModifiedSince) {
  LProcessInterfaceVoid process;
  struct {
    long age;
    std::set<std::string> kept;
  } const cases[] = {
      {0, {}},
      {LONG_MIN, {}},
      {3000, {"t", "t/a", "t/a/1000", "t/-9000"}},
      {LONG_MAX, {"t", "t/a", "t/a/1000", "t/a/3000", "t/b", "t/b/4000", "t/-9000"}}};
  for (const auto& [age, kept] : cases) {
    Sh("rm -rf t; mkdir -p t/a t/b");
    for (const fs::path path : {"t/a/1000", "t/a/3000", "t/b/4000", "t/-9000"}) {
      fs::create_symlink("nowhere", path);  // a link has a time of its own, too
      const timespec time = {std::time(nullptr) - std::stol(path.filename()), 999'999'999};
      const timespec times[] = {time, time};
      ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
    EXPECT_EQ(LFile::DeleteFolderTree(process, "t", age), kept.empty() ? 0 : 2) << age;
    EXPECT_EQ(Rest(), kept) << age;
  }
  EXPECT_EQ(LFile::DeleteFolderContents(process, "t", LONG_MAX), 0);
  Sh("ln -s t l");
  EXPECT_EQ(LFile::DeleteFolderContents(process, "l", 0), 2);
  EXPECT_EQ(LFile::DeleteFolderContents(process, "l/", 0), 0);
  EXPECT_THAT(Rest(), ElementsAre("l", "t"));
}

bool AddFlag(const char* path, int flag) {
  const UniqueFd file(open(path, O_RDONLY | O_CLOEXEC));
  int flags = 0;
  if (ioctl(file.Get(), FS_IOC_GETFLAGS, &flags) != 0) return false;
  flags |= flag;
  return ioctl(file.Get(), FS_IOC_SETFLAGS, &flags) == 0;
}

TEST_F(Deleting, LockedFilesGoWhereThatIsAskedFor) {
  Sh("mkdir -p t/s/e t/a; echo > t/s/f; echo > t/a/f; mkfifo t/s/p; echo > t/g");
  if (!AddFlag("t/g", FS_IMMUTABLE_FL) || !AddFlag("t/a/f", FS_APPEND_FL) ||
      !AddFlag("t/s", FS_IMMUTABLE_FL)) {
    GTEST_SKIP() << "needs the right to set file flags, on a file system that has them";
  }
  EXPECT_FALSE(LFile::DeleteFolderTree("t"));
  EXPECT_THAT(Rest(), ElementsAre("t", "t/a", "t/a/f", "t/g", "t/s", "t/s/e", "t/s/f", "t/s/p"));
  EXPECT_EQ(DeleteWithProcess("t"), 2);  // of files, not of folders
  EXPECT_THAT(Rest(), ElementsAre("t", "t/s", "t/s/e", "t/s/f", "t/s/p"));
  EXPECT_TRUE(AddFlag("t", FS_APPEND_FL));
  EXPECT_TRUE(LFile::DeleteFolderTreeAlways("t"));
}

/// For a user whom permissions keep out. 0, or what failed.
int DeleteWithoutRights() {
  if (getuid() == 0 && setuid(65534) != 0) return 1;
  if (mkdir("t", 0700) != 0 || mkdir("t/in", 0700) != 0 || chmod("t", 0) != 0) return 2;
  if (LFile::DeleteFolderTree("t") || DeleteWithProcess("t") != 2) return 3;
  const std::time_t start = clock();
  if (LFile::DeleteFolderTree("t", 30) || clock() - start > CLOCKS_PER_SEC) return 4;
  std::thread other([] {
    usleep(20'000);
    chmod("t", 0700);
  });
  const bool isDeleted = LFile::DeleteFolderTree("t", UINT_MAX);
  other.join();
  if (!isDeleted || LFile::DeleteFolderTree("t", UINT_MAX)) return 5;
  // Empty ones that cannot be opened.
  const bool isGone = mkdir("t", 0) == 0 && LFile::DeleteFolderTree("t");
  return isGone && mkdir("t", 0) == 0 && DeleteWithProcess("t") == 0 ? 0 : 6;
}

/// 77 where nothing may be mounted.
int DeleteAroundMount() {
  if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return 77;
  mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
  if (mount("o", "t/m", nullptr, MS_BIND, nullptr) != 0) return 77;
  return LFile::DeleteFolderTree("t") || DeleteWithProcess("t") != 2 ? 1 : 0;
}

/// Where the root folder is one of ours: a fault must not cost the machine. 77 where that cannot
/// be.
int DeleteRoots() {
  if (chroot(".") != 0 && (unshare(CLONE_NEWUSER) != 0 || chroot(".") != 0)) return 77;
  for (const char* const path : {"/", "//", "/t/..", "/t/../", "/."}) {
    LProcessInterfaceVoid process;
    if (LFile::DeleteFolderTree(path, 1000U) || LFile::DeleteFolderAndFiles(path)) return 1;
    if (DeleteWithProcess(path) != 2) return 2;
    if (LFile::DeleteFolderContents(process, path, 0) != 2) return 3;
  }
  return 0;
}

TEST_F(Deleting, WhatCannotBeDeletedOrMustNotBeStays) {
  const auto isDoneOrImpossible = [](int status) { return WEXITSTATUS(status) % 77 == 0; };
  fs::permissions(".", fs::perms::all);
  EXPECT_EXIT(std::_Exit(DeleteWithoutRights()), testing::ExitedWithCode(0), "");
  EXPECT_THAT(Rest(), IsEmpty());
  Sh("mkdir -p t/m o t/a; echo > o/keep; echo > t/a/f");
  EXPECT_EXIT(std::_Exit(DeleteRoots()), isDoneOrImpossible, "");
  EXPECT_EQ(Rest().size(), 6U);
  EXPECT_EXIT(std::_Exit(DeleteAroundMount()), isDoneOrImpossible, "");
  EXPECT_TRUE(fs::exists("o/keep"));
}

TEST_F(Deleting, WhoMovesFoldersMeanwhileDoesNotLeadItOutside) {
  // From so far below that the folder to go back to is no longer open by then.
  MakeDeepTree(60, "d");
  Sh("mkdir o; echo > o/keep");
  Recorder process;
  process.onStop = [&process] {
    if (process.asked == 115) fs::rename("d/d/d", "o/d");
  };
  EXPECT_EQ(LFile::DeleteFolderTree(process, "d", 0), 0);
  EXPECT_TRUE(process.log.ends_with("1.0 "));
  EXPECT_TRUE(fs::exists("o/d") && !fs::exists("o/d/d") && fs::exists("o/keep"));

  // A folder that is a link by the time it is its turn.
  Sh("mkdir -p t/a/b");
  Recorder other;
  other.onStop = [&other] {
    if (other.asked == 2) Sh("mv t/a a; ln -s ../o t/a");
  };
  EXPECT_EQ(LFile::DeleteFolderTree(other, "t", 0), 2);
  EXPECT_TRUE(fs::exists("o/keep"));
}

TEST_F(Deleting, SeveralMayDeleteTheSameTree) {
  for (int round = 0; round < 10; ++round) {
    Sh("for d in t t/1 t/1/2 t/4/5 t/6; do mkdir -p $d; touch $d/a $d/b $d/c; done");
    fs::current_path("t/1/2");
    MakeDeepTree(50, "d");
    fs::current_path(root_);
    std::atomic<int> deleted = 0;
    const auto work = [&deleted] { deleted += LFile::DeleteFolderTree("t", 10'000U) ? 1 : 0; };
    std::thread first(work), second(work), third([] { DeleteWithProcess("t"); });
    first.join(), second.join(), third.join();
    EXPECT_THAT(Rest(), IsEmpty());
  }
}

}  // namespace
