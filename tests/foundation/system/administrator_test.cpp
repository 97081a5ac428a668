// SPDX-License-Identifier: MIT
#include "foundation/system/administrator.h"

#include <signal.h>
#include <unistd.h>

#include <string>
#include <tuple>

#include "foundation/system/pkexec.h"
#include "tests/foundation/system/stoppableprocess.h"
#include "tests/support/foldertest.h"

namespace {

struct AdministratorTest : FolderTest {
  /// Runs it through a script that is called as pkexec is.
  int RunThrough(const std::string& script, const char* const* arguments) {
    const std::string head =
        "#!/bin/sh\ntest \"$1\" = --disable-internal-agent || exit 99; shift\n";
    const std::string fake = Write("pkexec", head + script, true);
    status = -1;
    return RunThroughPkexec(process, fake.c_str(), arguments, output, status);
  }

  StoppableProcess process;
  LStringLongTemplate<char> output;
  int status = -1;
};

TEST_F(AdministratorTest, TellsWhyTheProgramWasNotRun) {
  const std::string error = "echo 'Error executing command as another user: ";
  const std::tuple<std::string, int, int, bool> rows[] = {
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
  for (const auto& [script, result, expectedStatus, isTold] : rows) {
    process.last.clear();
    EXPECT_EQ(RunThrough(script, arguments), result) << script;
    EXPECT_EQ(status, expectedStatus) << script;
    EXPECT_EQ(!process.last.empty(), isTold) << process.last;
    EXPECT_TRUE(status != 0 || output.Text() == std::string("|$(ls)\n\xff a||")) << output.Text();
  }
  // What was refused does not count as done where the host takes the status away.
  signal(SIGCHLD, SIG_IGN);
  for (const auto& [script, result, expectedStatus, isTold] : rows) {
    if (script.starts_with(error) && result != LAdministratorDone) {
      EXPECT_EQ(RunThrough(script, arguments), result) << script;
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
