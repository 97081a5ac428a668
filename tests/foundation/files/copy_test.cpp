// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>

#include "foundation/files/file.h"
#include "foundation/files/processcopy.h"
#include "foundation/system/shell.h"
#include "platform/uniquefd.h"

namespace fs = std::filesystem;

namespace {

std::string Read(const fs::path& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

/// Something other in each place, so that no part can be taken for another one.
std::string Content(int size) {
  std::string content(static_cast<std::size_t>(size), ' ');
  for (std::size_t i = 0; i < content.size(); ++i)
    content[i] = static_cast<char>(i * 2'654'435'761U >> 13);
  return content;
}

/// All that a copy carries, as text. Of folders and links no sizes.
std::string Describe(const fs::path& path) {
  struct stat s = {};
  lstat(path.c_str(), &s);
  char text[100] = "", value[100] = "";
  std::snprintf(text, sizeof text, "%o %ld.%09ld ", s.st_mode, s.st_mtim.tv_sec, s.st_mtim.tv_nsec);
  lgetxattr(path.c_str(), "user.note", value, sizeof value - 1);
  std::string all = std::string(text) + value;
  if (S_ISLNK(s.st_mode)) all += fs::read_symlink(path).string();
  if (S_ISREG(s.st_mode)) all += " " + std::to_string(std::hash<std::string>()(Read(path)));
  return all;
}

std::map<std::string, std::string> Tree(const fs::path& root) {
  std::map<std::string, std::string> tree = {{".", Describe(root)}};
  for (const auto& entry : fs::recursive_directory_iterator(root))
    tree[entry.path().lexically_relative(root)] = Describe(entry.path());
  return tree;
}

/// Writes down what an operation says and asks, and says yes to one of its questions.
class Recorder final : public LProcessInterface {
 public:
  int ProcessWait(unsigned int) override { return 0; }
  int ProcessWaitSignal(LSignalObjectRef, unsigned int) override { return 2; }
  int ProcessWaitSignalObjectGroup(LSignalObjectGroup&, unsigned int) override { return 2; }
  bool IsToStop() override {
    log += "?";
    return asked++ == stopAt;
  }
  void SetStatus(const char* text, int line) override {
    log += std::string(text) + std::to_string(line);
  }
  void SetProgress(double fraction) override {
    log += " " + std::to_string(fraction).substr(0, 6);
    EXPECT_GE(fraction, progress);
    EXPECT_LE(fraction, 1.0);
    progress = fraction;
    if (onProgress) onProgress();
  }
  void SetError(const char* text) override { error = text; }

  std::string log;
  std::function<void()> onProgress;
  std::string error;
  double progress = 0;
  int asked = 0;
  int stopAt = -1;
};

class Copying : public testing::Test {
 protected:
  Copying() {
    std::string name = fs::temp_directory_path() / "copyXXXXXX";
    folder_ = mkdtemp(name.data());
  }
  ~Copying() override { fs::remove_all(folder_); }

  std::string Path(const std::string& name) { return folder_ / name; }
  std::string Make(const std::string& name, const std::string& content, mode_t mode = 0640) {
    std::string path = Path(name);
    std::ofstream(path) << content;
    chmod(path.c_str(), mode);
    const timespec times[] = {{1'000'000'000, 111'222'333}, {1'234'567'890, 123'456'789}};
    utimensat(AT_FDCWD, path.c_str(), times, 0);
    return path;
  }
  bool Copy(const std::string& from, const std::string& to) {
    return LFile::CopyFile(Path(from).c_str(), Path(to).c_str());
  }
  int Process(LProcessInterface& process, const std::string& from, const std::string& to) {
    return ::Process(process, LProcessCopyFile(Path(from).c_str(), Path(to).c_str()));
  }
  int ProcessFolder(LProcessInterface& process, const std::string& from, const std::string& to) {
    return ::Process(process, LProcessCopyFolder(Path(from).c_str(), Path(to).c_str()));
  }

  /// Something of everything, in `name`.
  void MakeTree(const std::string& name) {
    fs::create_directories(Path(name) + "/sub/closed");
    Make(name + "/big", Content(70'000), 0444);
    Make(name + "/.hidden", "hidden", 04711);
    Make(name + "/sub/empty", "");
    Make(name + "/sub/closed/\xFF\xFE(\xC3)", "broken UTF-8");
    setxattr(Path(name + "/big").c_str(), "user.note", "value", 5, 0);
    std::ofstream(Path(name + "/sub/closed/holes")) << "x";
    fs::resize_file(Path(name + "/sub/closed/holes"), 300'000);
    fs::create_symlink("..", Path(name + "/sub/parent"));
    fs::create_symlink("no where", Path(name + "/sub/dangling"));
    mkfifo(Path(name + "/sub/pipe").c_str(), 0622);
    chmod(Path(name + "/sub/closed").c_str(), 0710);
    const timespec times[] = {{5, 0}, {7, 9}};
    for (const char* inner : {"/sub/parent", "/sub/closed", "/sub", ""})
      utimensat(AT_FDCWD, (Path(name) + inner).c_str(), times, AT_SYMLINK_NOFOLLOW);
  }

  fs::path folder_;
};

/// While no file may grow beyond a size: as on a full disk.
void WithFullDisk(rlim_t size, const std::function<void()>& action) {
  rlimit before = {};
  getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {size, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  action();
  setrlimit(RLIMIT_FSIZE, &before);
  signal(SIGXFSZ, handler);
}

TEST_F(Copying, AFileCarriesAllThatItHas) {
  const mode_t before = umask(077);
  for (const auto& [size, mode] : {std::pair{0, 0666}, {1, 0400}, {3'333'333, 0755}, {10, 06711}}) {
    const std::string from = Make("from", Content(size), static_cast<mode_t>(mode));
    setxattr(from.c_str(), "user.note", "value", 5, 0);
    Make("to", "something longer, which may not be written", 0444);
    const std::string described = Describe(from);
    EXPECT_TRUE(Copy("from", "to")) << size;
    EXPECT_EQ(Describe(Path("to")), described) << size;
    fs::remove(from);
  }
  umask(before);
  // Not told, not stored, or elsewhere.
  EXPECT_TRUE(LFile::CopyFile("/proc/self/limits", Path("limits").c_str()));
  EXPECT_EQ(Read(Path("limits")), Read("/proc/self/limits"));
  const std::string shared = "/dev/shm/file of " + folder_.filename().string();
  std::ofstream(shared) << Content(200'000);
  EXPECT_TRUE(LFile::CopyFile(shared.c_str(), Path("from shared").c_str()));
  EXPECT_EQ(Read(Path("from shared")), Content(200'000));
  fs::remove(shared);
  for (const bool isEndStored : {false, true}) {
    const std::string sparse = Make("sparse", Content(10'000));
    fs::resize_file(sparse, 5'000'000);
    if (isEndStored) std::ofstream(sparse, std::ios::app) << "end";
    LProcessInterfaceVoid process;
    EXPECT_TRUE(Copy("sparse", "copy") && Process(process, "sparse", "chunks") == 0);
    for (const char* name : {"copy", "chunks"}) {
      struct stat s = {};
      stat(Path(name).c_str(), &s);
      EXPECT_LT(s.st_blocks, 200) << name;
      EXPECT_EQ(Read(Path(name)), Read(sparse)) << name;
    }
  }
}

TEST_F(Copying, AFileFailsWithoutHarm) {
  Make("from", Content(50'000));
  Make("old", "old");
  fs::create_hard_link(Path("old"), Path("same"));
  fs::create_symlink("old", Path("link"));
  fs::create_directory(Path("folder"));
  mkfifo(Path("pipe").c_str(), 0600);
  LProcessInterfaceVoid process;
  const auto expectRefused = [&](const char* from, const char* to) {
    EXPECT_FALSE(Copy(from, to)) << from << " " << to;
    EXPECT_EQ(Process(process, from, to), 2) << from << " " << to;
    EXPECT_EQ(Read(Path("old")), "old") << from << " " << to;
  };
  for (const char* from : {"missing", "pipe", "folder", "./old", "same", "link"})
    expectRefused(from, "old");
  for (const char* to : {"folder", "folder/missing/x", "./old"})
    expectRefused("old", to);
  EXPECT_TRUE(Process(process, "old", "link") == 2 && Process(process, "old", "pipe") == 2);
  // A link itself is replaced, not what it leads to.
  EXPECT_TRUE(Copy("from", "link") && !fs::is_symlink(Path("link")));
  EXPECT_EQ(Read(Path("old")), "old");
  WithFullDisk(40'000, [&] {
    EXPECT_FALSE(Copy("from", "to"));
    EXPECT_TRUE(Process(process, "from", "part") == 2 && Process(process, "from", "old") == 2);
  });
  for (const char* name : {"to", "part", "old"})
    EXPECT_FALSE(fs::exists(Path(name))) << name;
}

TEST_F(Copying, ALinkIsCopiedByTheShellWhereItCan) {
  Make("target", "target");
  const std::string odd = "a 'b' \"c\" `d`;\n*&";
  fs::create_symlink("target", Path(odd));
  Make("old", "old");
  for (const std::string to : {"new \"`link`", "old"})
    EXPECT_TRUE(Copy(odd, to) && fs::read_symlink(Path(to)) == "target") << to;
  EXPECT_FALSE(Copy(odd, "target"));
  EXPECT_EQ(Read(Path("target")), "target");
  const std::string room(258 - Path("").size(), 'x');
  for (const std::string& to : {std::string("$HOME"), std::string("a\\b"), "\"" + room, "`" + room})
    EXPECT_FALSE(Copy(odd, to)) << to;
  EXPECT_FALSE(LFile::CopyFile(Path(odd).c_str(), "--help"));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 4);
}

TEST_F(Copying, WithProgressAsksAndTellsAtEachChunk) {
  const std::map<int, std::string> logs = {
      {0, ""}, {1, "? 1.0000"}, {32'768, "? 1.0000"}, {32'769, "? 0.9999? 1.0000"}};
  for (const auto& [size, expected] : logs) {
    Recorder process;
    Make("from", Content(size));
    Make("to", Content(100'000), 0604);
    EXPECT_EQ(Process(process, "from", "to"), 0);
    EXPECT_EQ(process.log, "Copy File0" + expected);
    // Its own permissions, the source's content and times.
    chmod(Path("from").c_str(), 0604);
    EXPECT_EQ(Describe(Path("to")), Describe(Path("from")));
    for (int step = 0; step < process.asked; ++step) {
      Recorder stopped;
      stopped.stopAt = step;
      EXPECT_EQ(Process(stopped, "from", "to"), 2);
      EXPECT_EQ(stopped.asked, step + 1);
      EXPECT_FALSE(fs::exists(Path("to")));
    }
  }
  // Shorter than it was, all of a sudden.
  Recorder process;
  process.onProgress = [&] { fs::resize_file(Path("from"), 10); };
  EXPECT_EQ(Process(process, "from", "to"), 2);
  EXPECT_FALSE(fs::exists(Path("to")));
  // Where links lead to, the file goes and not the link.
  fs::create_symlink("target", Path("link"));
  Recorder stopped;
  stopped.stopAt = 0;
  EXPECT_EQ(Process(stopped, "from", "link"), 2);
  EXPECT_TRUE(fs::is_symlink(Path("link")) && !fs::exists(Path("target")));
}

TEST_F(Copying, WithProgressKeepsToLocks) {
  const UniqueFd source(open(Make("held", "new").c_str(), O_RDONLY));
  const UniqueFd destination(open(Make("taken", "old").c_str(), O_RDONLY));
  flock(source.Get(), LOCK_EX);
  flock(destination.Get(), LOCK_SH);
  Make("from", "new");
  Make("to", "old");
  const auto expectRefused = [&](const char* from, const char* to) {
    Recorder process;
    EXPECT_EQ(Process(process, from, to), 2);
    EXPECT_EQ(Read(Path(to)), "old");
  };
  std::thread other(expectRefused, "held", "to");
  expectRefused("from", "taken");
  other.join();
  flock(source.Get(), LOCK_SH);
  flock(destination.Get(), LOCK_UN);
  Recorder process;
  process.onProgress = [&] { EXPECT_NE(flock(destination.Get(), LOCK_SH | LOCK_NB), 0); };
  EXPECT_EQ(Process(process, "held", "taken"), 0);
  EXPECT_EQ(Read(Path("taken")), "new");
}

TEST_F(Copying, WhoWaitsForACopyThatIsStoppedDoesNotGetItsRest) {
  Make("from", Content(100'000));
  for (const auto& [from, to, result] : {std::tuple{"from", "copy", 0}, {"copy", "other", 2}}) {
    Recorder first, second;
    std::thread waiting;
    first.stopAt = 1;
    first.onProgress = [&, from = from, to = to, result = result] {
      waiting = std::thread([&, from, to, result] {
        EXPECT_EQ(Process(second, from, to), result);
        EXPECT_EQ(fs::exists(Path(to)), result == 0);
      });
      usleep(20'000);
    };
    EXPECT_EQ(Process(first, "from", "copy"), 2);
    waiting.join();
    fs::remove(Path("copy"));
  }
}

TEST_F(Copying, AFolderBecomesLikeTheSource) {
  MakeTree("from");
  ASSERT_TRUE(LRunShellCommand(("cd '" + folder_.string() + "' && cp -a from expected").c_str()));
  const auto expected = Tree(Path("expected"));
  Recorder process;
  EXPECT_EQ(ProcessFolder(process, "from", "new/to"), 0) << process.error;
  EXPECT_TRUE(Tree(Path("new/to")) == expected && process.progress == 1.0);
  // Once more, over what is there: some of it other, some of it more.
  chmod(Path("new/to/big").c_str(), 0);
  fs::remove(Path("new/to/sub/dangling"));
  Make("new/to/sub/dangling", "no link");
  fs::remove(Path("new/to/.hidden"));
  Make("outside", "outside");
  fs::create_symlink("../../outside", Path("new/to/.hidden"));
  Make("new/to/more", "more");
  auto completed = expected;
  completed["more"] = Describe(Path("new/to/more"));
  Recorder again;
  EXPECT_EQ(ProcessFolder(again, "from", "new/to"), 0) << again.error;
  EXPECT_EQ(Tree(Path("new/to")), completed);
  EXPECT_EQ(Read(Path("outside")), "outside");

  EXPECT_TRUE(LFile::CopyFolderFiles(Path("from").c_str(), Path("flat/files").c_str()));
  const auto flat = Tree(Path("flat/files"));
  EXPECT_TRUE(flat.size() == 3 && flat.at("big") == expected.at("big") &&
              flat.at(".hidden") == expected.at(".hidden"));
  EXPECT_FALSE(LFile::CopyFolderFiles(Path("from").c_str(), Path("from").c_str()));
}

TEST_F(Copying, AFolderStopsAnywhereWithoutHalfFiles) {
  MakeTree("from");
  const auto whole = Tree(Path("from"));
  Recorder all;
  ASSERT_EQ(ProcessFolder(all, "from", "whole"), 0);
  EXPECT_NE(all.log.find("Copy File1? 0."), std::string::npos) << all.log;
  for (int step = 0; step < all.asked; ++step) {
    fs::remove_all(Path("to"));
    Recorder process;
    process.stopAt = step;
    EXPECT_EQ(ProcessFolder(process, "from", "to"), 2) << step;
    EXPECT_EQ(process.error, "");
    EXPECT_LE(process.asked, step + 1);
    if (!fs::exists(Path("to"))) continue;
    for (const auto& [name, description] : Tree(Path("to"))) {
      EXPECT_EQ(description, whole.at(name)) << name << " at " << step;
    }
  }
}

TEST_F(Copying, AFolderFailsAndSaysWhere) {
  MakeTree("from");
  fs::create_directory_symlink("from", Path("alias"));
  fs::create_directories(Path("conflict/big"));
  fs::create_directories(Path("other"));
  Make("other/sub", "a file");
  Make("file", "");
  const auto before = Tree(folder_);
  const auto expectRefused = [&](const char* from, const char* to) {
    Recorder process;
    EXPECT_EQ(ProcessFolder(process, from, to), 2) << from << " " << to;
    EXPECT_TRUE(process.error.starts_with("Cannot copy \"")) << process.error;
    EXPECT_EQ(Tree(folder_), before) << from << " " << to;
  };
  for (const char* to : {"alias", "from/a/b", "from/sub/../x", "file"})
    expectRefused("from", to);
  for (const char* from : {"missing", "file", "alias"})
    expectRefused(from, "from/sub/closed");
  for (const auto& [to, entry] : {std::pair{"conflict", "from/big\""}, {"other", "from/sub\""}}) {
    Recorder process;
    EXPECT_EQ(ProcessFolder(process, "from", to), 2);
    EXPECT_NE(process.error.find(entry), std::string::npos) << process.error;
  }
  EXPECT_EQ(Read(Path("other/sub")), "a file");
  WithFullDisk(50'000, [&] {
    Recorder process;
    EXPECT_EQ(ProcessFolder(process, "from", "full"), 2);
    EXPECT_NE(process.error, "");
  });
  EXPECT_FALSE(fs::exists(Path("full/big")));
}

TEST_F(Copying, AFolderMayBeDeeperThanPathsAndStacks) {
  std::string deep;
  for (int level = 0; level < 450; ++level)
    deep += "/deep";
  fs::create_directories(Path("from") + deep);
  Make("from" + deep + "/bottom", "bottom");
  pthread_attr_t before, small;
  pthread_getattr_default_np(&before);
  pthread_getattr_default_np(&small);
#if !defined(__SANITIZE_THREAD__)  // which has more than that on each stack itself
  pthread_attr_setstacksize(&small, std::size_t{200} << 10);
#endif
  pthread_setattr_default_np(&small);
  std::thread([this] {
    Recorder process;
    EXPECT_EQ(ProcessFolder(process, "from", "to"), 0) << process.error;
  }).join();
  pthread_setattr_default_np(&before);
  EXPECT_EQ(Read(Path("to") + deep + "/bottom"), "bottom");
}

TEST_F(Copying, NothingIsTakenFromWhoMayNotReadIt) {
  if (geteuid() != 0) GTEST_SKIP() << "needs the superuser, to be somebody else for a while";
  chmod(folder_.c_str(), 0777);
  MakeTree("from");
  chown(Path("from/sub/closed").c_str(), 1, 1);
  ASSERT_EQ(seteuid(65534), 0);
  Recorder process;
  EXPECT_EQ(ProcessFolder(process, "from", "to"), 2);
  EXPECT_FALSE(Copy("from/sub/closed/holes", "mine"));
  EXPECT_EQ(seteuid(0), 0);
  EXPECT_NE(process.error.find("Permission denied"), std::string::npos) << process.error;
}

}  // namespace
