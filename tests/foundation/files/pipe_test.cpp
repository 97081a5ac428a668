// SPDX-License-Identifier: MIT
#include "foundation/files/pipe.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

std::string ReadAll(LReadFileRef reader) {
  std::string all;
  LStringLongTemplate<char> line;
  while (reader.ReadLine(line))
    all += line.Text() + std::string(";");
  return all;
}

auto OpenDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return std::distance(begin(entries), end(entries));
}

TEST(PipeTest, CommandsReadAndWriteAndLeaveNoDescriptorsOrZombies) {
  std::string name = "/tmp/pipe-XXXXXX";
  close(mkstemp(name.data()));
  const auto before = OpenDescriptors();
  {
    LPipeInOut both;
    LPipeOut out;
    ASSERT_TRUE(both._Open("sort; exit 3", 0, 0));
    ASSERT_TRUE(out._Open(("sleep 0.05; cat >" + name).c_str()));
    // Neither command holds what belongs to the other: the end of input is seen at once.
    both.Writer().WriteLineLF("b");
    both.Writer().WriteLineLF("a");
    both.CloseWriter();
    EXPECT_EQ(ReadAll(both.Reader()), "a;b;");
    out.Writer().WriteString("written");
    EXPECT_EQ(out.Close(4294967295), 0);
    EXPECT_EQ(std::filesystem::file_size(name), 7U) << "Close waits for the command";
    const int pid = both.Pid();
    EXPECT_EQ(WEXITSTATUS(both.Close(10000)), 3);
    EXPECT_EQ(kill(pid, 0), -1);
    EXPECT_EQ(both.Close(), -1);
    EXPECT_TRUE(both._Open("cat", 0, 0) && both._Open("cat", 0, 0) && out._Open("cat"));
  }
  EXPECT_EQ(OpenDescriptors(), before);
  LPipeIn in;
  ASSERT_TRUE(in._Open("printf 'one\\r\\ntwo'"));
  EXPECT_EQ(OpenDescriptors(), before + 3) << "the pipe that was not asked for stays, on purpose";
  EXPECT_EQ(ReadAll(in.Reader()), "one;two;");
  std::filesystem::remove(name);
}

TEST(PipeTest, CommandsInheritNoEndsAndNoSignalMask) {
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  LPipeInOut other;
  ASSERT_TRUE(other._Open("cat", 0, 0));
  LPipeOut out;
  ASSERT_TRUE(out._Open("cat"));
  std::string inherited;
  for (const int fd : {other.Writer().Descriptor(), out.Writer().Descriptor()})
    inherited += "test -e /proc/$$/fd/" + std::to_string(fd) + " && exit 9; ";
  LPipeIn in;
  ASSERT_TRUE(in._Open((inherited + "kill -TERM $$; sleep 60").c_str()));
  EXPECT_EQ(WTERMSIG(in.Close(30000)), SIGTERM);
  // Its SIGPIPE is back to what it was, too: `yes` ends when nobody reads.
  signal(SIGPIPE, SIG_IGN);
  ASSERT_TRUE(in._Open("exec yes"));
  EXPECT_EQ(WTERMSIG(in.Close(30000)), SIGPIPE);
  signal(SIGPIPE, SIG_DFL);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(PipeTest, WritingToACommandThatIsGoneFailsAndKillsNobody) {
  signal(SIGPIPE, SIG_DFL);  // a host may have undone what loading the library does
  sigset_t brokenPipe, mask;
  sigemptyset(&brokenPipe);
  sigaddset(&brokenPipe, SIGPIPE);
  const struct {
    bool isBlocked, isPending;
  } rows[] = {{false, false}, {true, false}, {true, true}};
  for (const auto& row : rows) {
    if (row.isBlocked) pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    if (row.isPending) raise(SIGPIPE);
    LPipeInOut both;
    LPipeOut out;
    ASSERT_TRUE(both._Open("head -c 1", 0, 0) && out._Open("exec <&-; sleep 0.01"));
    // Goes away in the middle of the write.
    EXPECT_FALSE(both.Writer().WriteString(std::string(1 << 20, 'a').c_str()));
    EXPECT_EQ(ReadAll(both.Reader()), "a;");
    for (LWriteFileRef writer : {both.Writer(), out.Writer()}) {
      while (writer.WriteString("text")) {
      }
      EXPECT_EQ(errno, EPIPE);
    }
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGPIPE), row.isBlocked);
    sigpending(&mask);
    EXPECT_EQ(sigismember(&mask, SIGPIPE), row.isPending);
  }
  signal(SIGPIPE, SIG_IGN);  // drops the pending one
  pthread_sigmask(SIG_UNBLOCK, &brokenPipe, nullptr);
  signal(SIGPIPE, SIG_DFL);
}

TEST(PipeTest, ClosingDoesNotHangAndStillReapsTheCommand) {
  LPipeIn in;
  LPipeOut out;
  ASSERT_TRUE(in._Open("exec sleep 60"));
  const auto before = OpenDescriptors();
  ASSERT_TRUE(out._Open("exec sleep 1"));
  const int pid = in.Pid();
  EXPECT_EQ(out.Close(0), -1);
  while (OpenDescriptors() != before)
    std::this_thread::yield();
  EXPECT_EQ(in.Close(10), -1);
  kill(pid, SIGKILL);
  while (kill(pid, 0) == 0)
    std::this_thread::yield();
}

TEST(PipeTest, FailuresOfTheSystem) {
  const auto before = OpenDescriptors();
  int pid = 0, readFd = -1, writeFd = -1;
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlim_t most = limit.rlim_cur;
  // Room for one pipe and a half.
  limit.rlim_cur = static_cast<rlim_t>(dup(0)) + 3;
  close(static_cast<int>(limit.rlim_cur) - 3);
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_FALSE(OpenPipe(pid, readFd, writeFd, "true"));
  EXPECT_TRUE(pid == -1 && readFd == -1 && writeFd == -1);
  limit.rlim_cur -= 2;
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_FALSE(LPipeOut()._Open("true"));
  limit.rlim_cur = most;
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(OpenDescriptors(), before);
  // More than the system hands to a program: the shell cannot be started.
  LPipeInOut both;
  ASSERT_TRUE(both._Open(std::string(1 << 20, ' ').c_str(), 0, 0));
  EXPECT_EQ(ReadAll(both.Reader()), "");
  EXPECT_EQ(WEXITSTATUS(both.Close(30000)), 1);
}

// Whatever of standard input, output and error this process has closed, the command gets its own.
TEST(PipeTest, ProcessWithoutStandardDescriptors) {
  for (unsigned int closed = 1; closed < 8; ++closed) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(30);
      for (int fd = 0; fd < 3; ++fd)
        if (closed >> fd & 1) close(fd);
      LPipeInOut both;
      const bool isOpen = both._Open("read line; echo got $line", 0, 0);
      both.Writer().WriteLineLF("it");
      const bool isAbove = both.Reader().Descriptor() > 2 && both.Writer().Descriptor() > 2;
      LPipeOut out;
      const bool isOutAbove = out._Open("cat >/dev/null") && out.Writer().Descriptor() > 2;
      _exit(isOpen && isAbove && isOutAbove && ReadAll(both.Reader()) == "got it;" ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << closed;
  }
}

}  // namespace
