// SPDX-License-Identifier: MIT
#include "foundation/system/administrator.h"

#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "foundation/system/pkexec.h"
#include "tests/foundation/system/stoppableprocess.h"

namespace {

struct AdministratorTest : testing::Test {
  ~AdministratorTest() override { std::filesystem::remove(fake); }

  /// Runs it through a script that is called as pkexec is.
  int RunThrough(const std::string& script, const char* const* arguments) {
    std::ofstream(fake) << "#!/bin/sh\ntest \"$1\" = --disable-internal-agent || exit 99; shift\n"
                        << script;
    std::filesystem::permissions(fake, std::filesystem::perms::owner_all);
    status = -1;
    return RunThroughPkexec(process, fake.c_str(), arguments, output, status);
  }

  const std::string fake = "/tmp/pkexec-test-" + std::to_string(getpid());
  StoppableProcess process;
  LStringLongTemplate<char> output;
  int status = -1;
};

TEST_F(AdministratorTest, TellsWhyTheProgramWasNotRun) {
  const std::string error = "echo 'Error executing command as another user: ";
  const struct {
    std::string script;
    int result, status;
    bool isTold;
  } rows[] = {
      {"exec \"$@\"", LAdministratorDone, 0, false},
      {error + "Request dismissed' >&2; exit 126", LAdministratorDismissed, -1, false},
      {error + "Not authorized' >&2; echo; echo This incident has been reported.; exit 127",
       LAdministratorRefused, -1, true},
      {error + "No authentication agent found.' >&2; exit 127", LAdministratorNobodyAsks, -1, true},
      {"echo 'Error getting authority: no bus'; exit 127", LAdministratorFailed, -1, true},
      // The program's own, whatever it says.
      {"echo busy; exit 126", LAdministratorDone, 126, false},
      {error + "Not authorized'; exit 1", LAdministratorDone, 1, false},
  };
  const char* const arguments[] = {"/usr/bin/printf", "%s|", "", "$(ls)\n\xff a", "", nullptr};
  for (const auto& row : rows) {
    process.last.clear();
    EXPECT_EQ(RunThrough(row.script, arguments), row.result) << row.script;
    EXPECT_EQ(status, row.status) << row.script;
    EXPECT_EQ(!process.last.empty(), row.isTold) << process.last;
    if (row.status == 0) {
      EXPECT_STREQ(output.Text(), "|$(ls)\n\xff a||");
    }
  }
  // What was refused does not count as done where the host takes the status away.
  signal(SIGCHLD, SIG_IGN);
  for (const auto& row : rows) {
    if (row.script.starts_with(error) && row.result != LAdministratorDone) {
      EXPECT_EQ(RunThrough(row.script, arguments), row.result) << row.script;
    }
  }
  signal(SIGCHLD, SIG_DFL);
}

TEST_F(AdministratorTest, StopsWhileTheQuestionIsAskedAndRunsOnlyWholePaths) {
  process.isToStop = [&] { return !output.IsEmpty(); };
  const char* const program[] = {"/bin/sh", "-c", "id -u", nullptr};
  EXPECT_EQ(RunThrough("echo asks; exec sleep 100", program), LAdministratorStopped);
  process.isToStop = [] { return false; };
  EXPECT_EQ(RunThroughPkexec(process, nullptr, program, output, status),
            LAdministratorNotInstalled);
  for (const char* named : {"true", "./true", "", "/nosuch/program"}) {
    const char* const arguments[] = {named, nullptr};
    if (*named == '/' && geteuid() != 0) continue;
    process.last.clear();
    EXPECT_EQ(LRunProgramAsAdministrator(process, arguments, &output, &status),
              LAdministratorFailed);
    EXPECT_NE(process.last, "");
    EXPECT_EQ(status, -1);
  }
  if (geteuid() != 0) GTEST_SKIP() << "somebody would have to give a password";
  EXPECT_EQ(LRunProgramAsAdministrator(process, program, &output, &status), LAdministratorDone);
  EXPECT_STREQ(output.Text(), "0\n");
  EXPECT_EQ(LRunProgramAsAdministrator(process, program), LAdministratorDone);
}

}  // namespace
