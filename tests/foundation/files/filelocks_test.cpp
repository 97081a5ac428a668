// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <linux/fs.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/files/file.h"
#include "foundation/files/flocktimed.h"
#include "foundation/files/lockfile.h"
#include "platform/uniquefd.h"

namespace {

// In place of sleeping: what was asked for, and what happens meanwhile.
std::vector<std::uint64_t> sleeps;
std::size_t rests = 0;
std::function<void()> whileSleeping;

}  // namespace

extern "C" int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* rest) {
  EXPECT_TRUE(clock == CLOCK_MONOTONIC && flags == 0);
  const auto nanoseconds = static_cast<std::uint64_t>(time->tv_sec) * 1'000'000'000 +
                           static_cast<std::uint64_t>(time->tv_nsec);
  if (nanoseconds % 1'000'000 == 0) {
    sleeps.push_back(nanoseconds / 1'000'000);
    whileSleeping();
    // Interrupted, with a rest that is no whole millisecond.
    *rest = {.tv_sec = 0, .tv_nsec = 1};
    return EINTR;
  }
  ++rests;
  return 0;
}

namespace {

class FileLocksTest : public testing::Test {
 protected:
  FileLocksTest() {
    char name[] = "/tmp/filelocks-XXXXXX";
    folder_ = mkdtemp(name);
    whileSleeping = [] {};
    sleeps.clear();
  }
  ~FileLocksTest() override { std::filesystem::remove_all(folder_); }

  std::string Path(const char* name) const { return folder_ + "/" + name; }
  void Write(const char* name, const char* text) const { std::ofstream(Path(name)) << text; }
  auto SizeOf(const char* name) const { return std::filesystem::file_size(Path(name)); }

  std::string folder_;
};

TEST_F(FileLocksTest, SleepsDoubleUntilTheTimeoutAndNoTryFollowsTheLast) {
  using Sleeps = std::vector<std::uint64_t>;
  const struct {
    unsigned int timeout;
    Sleeps expected;
  } rows[] = {{0, {}},
              {1, {}},
              {2, {1}},
              {32, {2, 4, 8, 16}},
              {1000, {32, 64, 128, 256, 512}},
              {4294967295, {1U << 27, 1U << 28, 1U << 29, 1U << 30, 1U << 31}}};
  Write("file", "");
  const UniqueFd holder(open(Path("file").c_str(), O_RDWR));
  const UniqueFd waiter(open(Path("file").c_str(), O_RDWR));
  for (const auto& row : rows) {
    // Free again in the n-th sleep: the try after it gets the lock, if there is one.
    for (std::size_t n = 1; n <= row.expected.size() + 1; ++n) {
      SCOPED_TRACE(testing::Message() << row.timeout << " freed in sleep " << n);
      ASSERT_EQ(flock(holder.Get(), LOCK_EX), 0);
      sleeps.clear();
      rests = 0;
      whileSleeping = [&] {
        if (sleeps.size() == n) flock(holder.Get(), LOCK_UN);
      };
      Sleeps expected = row.expected;
      if (n < expected.size()) expected.resize(n);
      EXPECT_EQ(flocktimed(waiter.Get(), LOCK_SH | LOCK_NB, row.timeout),
                n < row.expected.size() ? 0 : -1);
      EXPECT_EQ(errno, EWOULDBLOCK);
      EXPECT_EQ(sleeps, expected);
      EXPECT_EQ(rests, sleeps.size());
      flock(waiter.Get(), LOCK_UN);
    }
  }
  sleeps.clear();
  EXPECT_EQ(flocktimed(-1, LOCK_EX | LOCK_NB, 1000), -1);
  EXPECT_EQ(errno, EBADF);
  EXPECT_TRUE(sleeps.empty());
}

TEST_F(FileLocksTest, OneHolderUntilItUnlocksOrDies) {
  Write("project.zvx", "text");
  const std::string path = Path("project.zvx");
  LLockFile lock;
  int locked[2];
  ASSERT_EQ(pipe(locked), 0);
  const pid_t holder = fork();
  if (holder == 0) {
    LLockFile held;
    if (held.Lock(path.c_str())) Write("project.lck", "other's");
    close(locked[1]);
    sleep(60);
    _exit(0);
  }
  close(locked[1]);
  EXPECT_EQ(read(locked[0], locked, 1), 0);
  close(locked[0]);
  EXPECT_FALSE(lock.Lock(path.c_str()));
  EXPECT_FALSE(lock.IsLocked());
  EXPECT_EQ(SizeOf("project.lck"), 7U) << "not truncated under its holder";
  EXPECT_TRUE(LFile::TestFileShareReadBlocked(Path("project.lck").c_str()));
  kill(holder, SIGKILL);
  waitpid(holder, nullptr, 0);
  EXPECT_FALSE(LFile::TestFileShareWriteBlocked(Path("project.lck").c_str()));
  EXPECT_TRUE(lock.Lock(path.c_str()));
  EXPECT_TRUE(lock.IsLocked());
  EXPECT_EQ(SizeOf("project.lck"), 0U);
  EXPECT_TRUE(LFile::TestFileShareWriteBlocked(Path("project.lck").c_str()));
  EXPECT_FALSE(LLockFile().Lock(path.c_str()));
  EXPECT_TRUE(std::filesystem::exists(Path("project.lck")));
  EXPECT_TRUE(lock.Lock(Path("other.zvx").c_str()));
  EXPECT_FALSE(std::filesystem::exists(Path("project.lck")));
  lock.Unlock();
  EXPECT_FALSE(std::filesystem::exists(Path("other.lck")));
  EXPECT_EQ(SizeOf("project.zvx"), 4U);

  // What cannot be locked counts as free: a path of 259 characters has no room for the extension.
  const std::string longName(258 - folder_.size(), 'n');
  Write(longName.c_str(), "text");
  for (const auto& other : {Path("missing/file"), Path(longName.c_str())})
    EXPECT_TRUE(lock.Lock(other.c_str()) && !lock.IsLocked());
  EXPECT_EQ(SizeOf(longName.c_str()), 4U) << "neither emptied nor deleted";
}

// A holder deletes the file in between the others' opening and locking it.
TEST_F(FileLocksTest, RacingProcessesExcludeEachOther) {
  auto* const shared = static_cast<std::atomic<int>*>(
      mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  std::atomic<int>&holders = shared[0], &collisions = shared[1], &locked = shared[2];
  pid_t children[4];
  for (pid_t& child : children) {
    child = fork();
    if (child != 0) continue;
    alarm(60);
    while (locked < 60) {
      LLockFile lock;
      if (!lock.Lock(Path("shared").c_str()) || !lock.IsLocked()) continue;
      collisions += holders++ > 0;
      sched_yield();
      locked++;
      holders--;
    }
    _exit(0);
  }
  for (const pid_t child : children)
    waitpid(child, nullptr, 0);
  EXPECT_GE(locked, 60);
  EXPECT_EQ(collisions, 0);
}

TEST_F(FileLocksTest, TestsOfFiles) {
  Write("file", "");
  const std::string file = Path("file");
  EXPECT_TRUE(LFile::TestFileExists(file.c_str()) && !LFile::TestFolderExists(file.c_str()));
  EXPECT_TRUE(LFile::TestFolderExists(folder_.c_str()) && !LFile::TestFileExists(folder_.c_str()));
  for (const char* path : {file.c_str(), "/nowhere/file"})
    EXPECT_FALSE(LFile::TestFileLocked(path) || LFile::TestFileShareReadBlocked(path));
  EXPECT_TRUE(LFile::IsErrorFileNotFound()) << "of the last test";
  EXPECT_FALSE(LFile::IsErrorSharingViolation() || LFile::IsErrorAlreadyExists());

  const UniqueFd opened(open(file.c_str(), O_RDONLY));
  int flags = 0;
  if (ioctl(opened.Get(), FS_IOC_GETFLAGS, &flags) != 0) GTEST_SKIP() << "no file flags in /tmp";
  flags |= FS_IMMUTABLE_FL;
  if (ioctl(opened.Get(), FS_IOC_SETFLAGS, &flags) != 0)
    GTEST_SKIP() << "making a file immutable takes CAP_LINUX_IMMUTABLE: run as root";
  EXPECT_TRUE(LFile::TestFileLocked(file.c_str()));
  flags &= ~FS_IMMUTABLE_FL;
  EXPECT_EQ(ioctl(opened.Get(), FS_IOC_SETFLAGS, &flags), 0);
}

}  // namespace
