// SPDX-License-Identifier: MIT
#include "foundation/system/processlist.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <set>
#include <string>
#include <thread>

#include "foundation/system/shell.h"
#include "platform/uniquefd.h"
#include "tests/foundation/system/stoppableprocess.h"
#include "tests/support/foldertest.h"

namespace {

const std::filesystem::path& Self() {
  static const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
  return self;
}

struct ProcessListTest : FolderTest {
  ProcessListTest() {
    std::filesystem::copy_file("/bin/dash", program);
    mkfifo((folder / "never").c_str(), 0600);
  }

  /// Starts the copied shell, called as itself or something else, and returns when it has done what
  /// it is to do before it waits for ever, without a child that would have its name for a moment.
  [[nodiscard]] bool Run(const std::string& first = ":", const char* calledAs = "") const {
    const std::string ready = folder / "ready";
    std::filesystem::remove(ready);
    const std::string whole =
        first + "; exec 3<>\"$0/never\"; : >\"$0/ready\"; while :; do read x <&3; done";
    const char* const arguments[] = {
        "bash",          "-c",     "exec -a \"${1:-$0}\" \"$0\" -c \"$2\" \"$3\"",
        program.c_str(), calledAs, whole.c_str(),
        folder.c_str(),  nullptr};
    return LStartProgram(arguments) && Becomes([&] { return std::filesystem::exists(ready); });
  }

  // That no other process on this machine has.
  const std::string name = "a process, renamed (deleted) or not " + std::to_string(getpid());
  const std::filesystem::path folder = root_, program = folder / name;
  StoppableProcess process;
  LProcessInformation found = {};
};

TEST_F(ProcessListTest, TellsOfProcessesAndOfNothingElse) {
  ASSERT_TRUE(Run("printf 'a) R 1 (b\n 2' >/proc/$$/comm"));
  ASSERT_TRUE(LFindProcess(name.c_str(), found)) << "not what it calls itself";
  EXPECT_EQ(found.path, program);
  EXPECT_EQ(found.parentPid, getpid());
  EXPECT_EQ(found.userId, geteuid());
  EXPECT_NEAR(static_cast<double>(found.startTime), static_cast<double>(time(nullptr)), 30);
  ASSERT_TRUE(LGetProcess(getpid(), found));
  EXPECT_EQ(found.path, Self());
  std::set<int> listed;
  for (LProcessIterator processes; processes.Next(found);)
    listed.insert(found.pid);
  EXPECT_TRUE(listed.contains(getpid()));
  EXPECT_FALSE(listed.contains(2)) << "a thread of the kernel";
  EXPECT_EQ(LEndProcess(process, name.c_str(), 60000), 0);

  const pid_t zombie = fork();
  if (zombie == 0) _exit(0);
  siginfo_t information = {};
  waitid(P_PID, static_cast<id_t>(zombie), &information, WEXITED | WNOWAIT);
  int thread = 0;
  std::thread([&] {
    thread = gettid();
    EXPECT_FALSE(LGetProcess(thread, found));
    EXPECT_EQ(LEndProcessByPid(process, thread, 0), 0) << "or this process would have ended";
  }).join();
  for (const int none : {zombie, thread, 0, -1, 2147483647})
    EXPECT_FALSE(LGetProcess(none, found)) << none;
  waitpid(zombie, nullptr, 0);
}

TEST_F(ProcessListTest, ProcessesAreFoundByTheirWholeName) {
  ASSERT_TRUE(Run(":", "something else"));
  EXPECT_FALSE(LFindProcess("something else", found));
  EXPECT_FALSE(LFindProcess("a process, rena", found));
  EXPECT_FALSE(LFindProcess("", found));
  ASSERT_TRUE(LFindProcess(name.c_str(), found));
  EXPECT_EQ(found.path, program);
  std::filesystem::remove(program);
  EXPECT_TRUE(LFindProcess(name.c_str(), found));
  EXPECT_EQ(found.path, program) << "without the kernel's mark";
  EXPECT_EQ(LEndProcess(process, name.c_str(), 60000), 0);
  EXPECT_FALSE(LFindProcess(name.c_str(), found));
}

TEST_F(ProcessListTest, EndingEndsAllOfTheNameAndAsksFirst) {
  const std::string told = folder / "told";
  ASSERT_TRUE(Run());
  ASSERT_TRUE(LFindProcess(name.c_str(), found) && kill(found.pid, SIGSTOP) == 0);
  ASSERT_TRUE(Run("trap ': >" + told + "; exit' TERM"));
  EXPECT_EQ(LEndProcess(process, name.c_str(), LSignalWaitForever), 0);
  EXPECT_TRUE(std::filesystem::exists(told));
  EXPECT_FALSE(LFindProcess(name.c_str(), found));
  EXPECT_EQ(LEndProcess(process, name.c_str(), 60000), 0) << "none is left";

  ASSERT_TRUE(Run("trap '' TERM"));
  ASSERT_TRUE(LFindProcess(name.c_str(), found));
  int asked = 0;
  process.isToStop = [&] { return ++asked > 3; };
  EXPECT_EQ(LEndProcess(process, name.c_str(), LSignalWaitForever), 1);
  process.isToStop = [] { return false; };
  EXPECT_TRUE(LFindProcess(name.c_str(), found));
  EXPECT_EQ(LEndProcessByPid(process, found.pid, 50), 0);
  EXPECT_FALSE(LFindProcess(name.c_str(), found));
  EXPECT_EQ(LEndProcessByPid(process, found.pid, 50), 0);
  EXPECT_EQ(process.last, "");
}

TEST_F(ProcessListTest, AShortageOfDescriptorsIsNotTheEndOfAProcess) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer beside it needs descriptors for its checks";
#endif
  ASSERT_TRUE(Run());
  ASSERT_TRUE(LFindProcess(name.c_str(), found));
  rlimit before = {};
  getrlimit(RLIMIT_NOFILE, &before);
  const UniqueFd lowest(dup(STDERR_FILENO));
  // None, and one, which is enough for the list alone.
  for (const int left : {0, 1}) {
    const rlimit few = {static_cast<rlim_t>(lowest.Get() + 1 + left), before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    process.last.clear();
    EXPECT_EQ(LEndProcess(process, name.c_str(), 0), 2) << left;
    EXPECT_EQ(LEndProcessByPid(process, found.pid, 0), 2) << left;
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(process.last.starts_with("Cannot look")) << process.last;
  }
  EXPECT_EQ(LEndProcess(process, name.c_str(), 60000), 0);
}

TEST_F(ProcessListTest, NeverEndsItselfNorTheFirst) {
  if (!Self().filename().string().starts_with("itself")) {
    // As a process whose name no other has.
    const std::string itself = folder / ("itself" + std::to_string(getpid()));
    std::filesystem::copy_file(Self(), itself);
    const char* const tests = "--gtest_filter=*NeverEndsItselfNorTheFirst";
    EXPECT_TRUE(InChild([&] { return execl(itself.c_str(), "tests", tests, nullptr) == 0; }));
    return;
  }
  EXPECT_EQ(LEndProcess(process, Self().filename().c_str(), 0), 0);
  EXPECT_FALSE(LFindProcess(Self().filename().c_str(), found));
  for (const int pid : {getpid(), 1, 0, -1}) {
    process.last.clear();
    EXPECT_EQ(LEndProcessByPid(process, pid, 0), 3);
    EXPECT_NE(process.last, "");
  }
}

TEST_F(ProcessListTest, OtherUsersProcessesAreSeenButNotEnded) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root, to be another user";
  ASSERT_TRUE(Run());
  ASSERT_TRUE(LFindProcess(name.c_str(), found));
  EXPECT_TRUE(As(65534, 65534, {}, [&] {
    LProcessInformation seen = {};
    return LFindProcess(name.c_str(), seen) && seen.pid == found.pid && seen.path[0] == 0 &&
           seen.userId == 0 && LEndProcess(process, name.c_str(), 60000) == 3 &&
           process.last.find(name) != std::string::npos;
  }));
  EXPECT_EQ(LEndProcessByPid(process, found.pid, 60000), 0);
  ASSERT_TRUE(Run(":", "something else"));
  EXPECT_TRUE(As(65534, 65534, {}, [&] {
    LProcessInformation seen = {};
    return LFindProcess("a process, rena", seen) && !LFindProcess("something else", seen);
  }));
  EXPECT_EQ(LEndProcess(process, name.c_str(), 60000), 0);
}

TEST_F(ProcessListTest, AllThatAlsoWithoutProcessHandles) {
  EXPECT_TRUE(PassWithoutProcessHandles("--gtest_filter=-*WithoutProcessHandles:*Itself*"));
}

}  // namespace
