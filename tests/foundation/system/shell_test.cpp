// SPDX-License-Identifier: MIT
#include "foundation/system/shell.h"

#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <numeric>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "foundation/system/processlist.h"
#include "tests/foundation/system/stoppableprocess.h"

namespace {

using namespace std::chrono_literals;
using Text = LStringLongTemplate<char>;

std::string Bytes(const Text& text) {
  return {text.Text(), text.Length()};
}

auto OpenDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return std::distance(begin(entries), end(entries));
}

bool HasChildren() {
  siginfo_t information = {};
  return waitid(P_ALL, 0, &information, WEXITED | WNOHANG | WNOWAIT) == 0;
}

struct ShellTest : testing::Test {
  void TearDown() override {
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_FALSE(HasChildren()) << "a zombie, or a process, is left";
  }
  decltype(OpenDescriptors()) descriptors = OpenDescriptors();
  StoppableProcess process;
  Text output, errors;
  int status = 0;
};

TEST_F(ShellTest, OutputAndStatusAreThoseOfTheCommand) {
  const std::string large(3 << 20, 'x');
  const struct {
    const char* command;
    std::string input;
    int status;
    std::string output, errors;
    std::uint64_t limit = ~std::uint64_t{0};
  } rows[] = {
      {"printf 'a\\0b\\n'; exit 3", "", 3, std::string("a\0b\n", 4), ""},
      {"echo out; echo err >&2; kill -9 $$", "", 128 + 9, "out\n", "err\n"},
      {"read x; echo $?$x", "", 0, "1\n", ""},
      {"cat", large, 0, large, ""},
      {"exec <&-; head -c 5", large, 1, "", "*"},
      {"cat; cat /proc/self/fd/0 >&2", large, 0, large, large},
      // Closes what it writes to long before it ends.
      {"exec >&- 2>&-; sleep 0.05; exit 4", "", 4, "", ""},
      {"head -c 3000000 /dev/zero; echo end >&2", "", 0, std::string(1001, 0), "end\n", 1001},
      {"echo x", "", 0, "", "", 0},
      {"nosuch-program", "", 127, "", "*"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.command);
    output = errors = "left from before";
    const LProgramStreams streams = {.input = row.input.data(),
                                     .inputLength = row.input.size(),
                                     .output = &output,
                                     .errorOutput = &errors,
                                     .outputLimit = row.limit};
    EXPECT_EQ(LRunShellCommand(process, row.command, streams, 60000, &status), 0);
    EXPECT_EQ(status, row.status);
    EXPECT_TRUE(Bytes(output) == row.output) << output.Length();
    EXPECT_TRUE(row.errors == "*" ? !errors.IsEmpty() : Bytes(errors) == row.errors);
    EXPECT_EQ(process.last, "");
  }
  EXPECT_EQ(LRunShellCommand(process, "echo 1; echo 2 >&2; echo 3", output), 0);
  EXPECT_EQ(Bytes(output), "1\n2\n3\n") << "together, in their order";
  const LProgramStreams itself = {.input = output.Text(), .inputLength = 4, .output = &output};
  EXPECT_EQ(LRunShellCommand(process, "cat", itself), 0);
  EXPECT_EQ(Bytes(output), "1\n2\n") << "input from the string that gets the output";
  EXPECT_EQ(LRunShellCommand(process, "yes | head -c 9000000; exit 2", {}, 60000, &status), 0);
  EXPECT_EQ(status, 2) << "nobody wants the output";
  EXPECT_TRUE(LRunShellCommand("exit 0"));
  EXPECT_FALSE(LRunShellCommand("exit 1"));
}

TEST_F(ShellTest, ArgumentsReachTheProgramByteForByte) {
  std::string all(255, 0);
  std::iota(all.begin(), all.end(), '\1');
  const std::string long100k(100000, '%');
  const char* const arguments[] = {"printf", "%s\\0", all.c_str(),      "",        "-n",
                                   "a b",    "$(ls)", long100k.c_str(), "'\"\\\n", nullptr};
  ASSERT_EQ(LRunProgram(process, arguments, output, LSignalWaitForever, &status), 0);
  std::string expected;
  for (const char* const* argument = arguments + 2; *argument != nullptr; ++argument)
    expected.append(*argument).push_back(0);
  EXPECT_EQ(Bytes(output), expected);
}

TEST_F(ShellTest, WhatCannotBeRunFailsAndSaysWhy) {
  for (const char* program : {"/nosuch/program", "nosuch-program", "/etc/passwd", "/tmp", ""}) {
    const char* const arguments[] = {program, nullptr};
    process.last.clear();
    output = "left";
    EXPECT_EQ(LRunProgram(process, arguments, output, 60000, &status), 2) << program;
    EXPECT_TRUE(process.last.starts_with(std::string("Cannot run ") + program)) << process.last;
    EXPECT_EQ(status, -1);
    EXPECT_TRUE(output.IsEmpty());
    EXPECT_FALSE(LStartProgram(arguments));
  }
  const char* const noProgram[] = {nullptr};
  EXPECT_EQ(LRunProgram(process, noProgram, output), 2);
  EXPECT_FALSE(LStartProgram(noProgram));
}

TEST_F(ShellTest, StopAndTimeOutEndTheWholeGroup) {
  const auto lines = [&] { return std::ranges::count(Bytes(output), '\n'); };
  // Two that do not heed SIGTERM and one that is stopped, and their numbers.
  const char* const stubborn =
      "trap '' TERM; sh -c 'kill -STOP $$; sleep 100' & echo $!; (sleep 101) & echo $!; echo $$; "
      "exec sleep 102";
  process.isToStop = [&] { return lines() == 3; };
  EXPECT_EQ(LRunShellCommand(process, stubborn, output, LSignalWaitForever, &status), 1);
  EXPECT_EQ(status, 128 + SIGKILL);
  int pids[3] = {};
  ASSERT_EQ(std::sscanf(output.Text(), "%d %d %d", &pids[0], &pids[1], &pids[2]), 3);
  LProcessInformation left;
  for (const int pid : pids)
    EXPECT_TRUE(Becomes([&] { return !LGetProcess(pid, left); })) << pid;
  // Who heeds it may end properly, with more to say than a pipe holds.
  const char* const polite =
      "trap 'head -c 300000 /dev/zero; exit 7' TERM; echo; while :; do sleep 0.02; done";
  const LProgramStreams both = {.output = &output, .errorOutput = &errors};
  process.isToStop = [&] { return lines() == 1; };
  EXPECT_EQ(LRunShellCommand(process, polite, both, 60000, &status), 1);
  EXPECT_EQ(status, 7);
  EXPECT_EQ(output.Length(), 300001U);
  EXPECT_EQ(process.last, "");
  // Output without end hides neither the end of the time nor the limit.
  process.isToStop = [] { return false; };
  EXPECT_EQ(LRunShellCommand(process, "yes", {.output = &output, .outputLimit = 10}, 100), 2);
  EXPECT_EQ(Bytes(output), "y\ny\ny\ny\ny\n");
  EXPECT_EQ(process.last, "/bin/sh has not ended in time");
  process.isToStop = [] { return true; };
  EXPECT_EQ(LRunShellCommand(process, "echo begun", output, 60000, &status), 1);
  EXPECT_EQ(status, -1);
  EXPECT_TRUE(output.IsEmpty());
}

TEST_F(ShellTest, WhatTheCommandLeavesRunningHoldsNobodyUp) {
  const char* const leaving = "sleep 100 & echo $!; yes >&2 & (sleep 0.02; echo late) &";
  const LProgramStreams both = {.output = &output, .errorOutput = &errors, .outputLimit = 1000};
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(LRunShellCommand(process, leaving, both, 60000, &status), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - before, 30s);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(kill(std::atoi(output.Text()), SIGTERM), 0) << "it is left alone";
}

TEST_F(ShellTest, StoppingAndWaitingAlsoWithoutProcessHandles) {
  EXPECT_TRUE(PassWithoutProcessHandles("--gtest_filter=*Stop*Group:*Leaves*:*Those*"));
}

TEST_F(ShellTest, ChildrenBeginWithNothingOfThisProcess) {
  EXPECT_TRUE(InChild([&] {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    signal(SIGPIPE, SIG_IGN);
    signal(SIGTERM, SIG_IGN);
    const int inheritable = dup(STDOUT_FILENO);
    // What `ls` has is 0 to 2 and its own, also where those are closed in this process and the
    // pipes would get their numbers.
    const auto haveNone = [&] {
      LRunShellCommand(process,
                       "grep -E 'Sig(Blk|Ign)' /proc/self/status | grep -o '.......$' | tr -d "
                       "'0\\n'; ls /proc/self/fd | wc -w >&2; test -t 0; echo $?",
                       {.input = "", .output = &output, .errorOutput = &errors});
      return Bytes(output) + Bytes(errors) == "1\n4\n" && !LRunShellCommand("kill $$");
    };
    return inheritable > 2 && haveNone() && close(0) + close(1) + close(2) == 0 && haveNone();
  }));
}

TEST_F(ShellTest, AHostThatTakesTheStatusAwayLeavesItUnknown) {
  signal(SIGCHLD, SIG_IGN);
  EXPECT_EQ(LRunShellCommand(process, "echo out", output, 60000, &status), 0);
  EXPECT_EQ(Bytes(output), "out\n");
  EXPECT_EQ(status, -1);
  EXPECT_FALSE(LRunShellCommand("exit 0"));
  signal(SIGCHLD, SIG_DFL);
}

TEST_F(ShellTest, StartedProgramsAreOnTheirOwnAndLeaveNoZombie) {
  std::string name = "/tmp/shell-XXXXXX";
  close(mkstemp(name.data()));
  const char* const arguments[] = {"sh", "-c",
                                   "exec >>\"$0\"; read -r line </proc/$$/stat; cat; "
                                   "echo \"$line whole\"",
                                   name.c_str(), nullptr};
  ASSERT_TRUE(LStartProgram(arguments));
  EXPECT_TRUE(Becomes([&] {
    LRunShellCommand(process, ("cat " + name).c_str(), output);
    return std::string(output.Text()).ends_with(" whole\n");
  }));
  int pid = 0, session = 0, terminal = -1;
  EXPECT_EQ(std::sscanf(output.Text(), "%d (sh) %*c %*d %*d %d %d", &pid, &session, &terminal), 3);
  EXPECT_EQ(pid, session);
  EXPECT_EQ(terminal, 0);
  EXPECT_TRUE(Becomes([] { return !HasChildren(); }));
  std::filesystem::remove(name);
}

}  // namespace
