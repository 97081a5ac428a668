// SPDX-License-Identifier: MIT
#include "foundation/system/pkexec.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string_view>
#include <vector>

#include "foundation/system/shell.h"

namespace {

// What pkexec(1) exits with when it has not run the program.
constexpr int kDismissed = 126;
constexpr int kFailed = 127;
// What LRunProgram gives when somebody else in this process has taken the status.
constexpr int kUnknown = -1;

bool Contains(const LStringLongTemplate<char>& output, std::string_view text) {
  return std::string_view(output.Text(), output.Length()).find(text) != std::string_view::npos;
}

// It says these in English always.
LAdministratorResult ResultOf(int exitStatus, const LStringLongTemplate<char>& output) {
  const bool mayBeItsOwn =
      exitStatus == kDismissed || exitStatus == kFailed || exitStatus == kUnknown;
  if (!mayBeItsOwn) return LAdministratorDone;
  if (!Contains(output, "Error executing command as another user:"))
    return exitStatus == kFailed ? LAdministratorFailed : LAdministratorDone;
  if (exitStatus == kDismissed || Contains(output, "Request dismissed"))
    return LAdministratorDismissed;
  if (Contains(output, "No authentication agent")) return LAdministratorNobodyAsks;
  return Contains(output, "Not authorized") ? LAdministratorRefused : LAdministratorFailed;
}

void TellFailure(LProcessInterface& process, LAdministratorResult result, const char* program,
                 const LStringLongTemplate<char>& output) {
  if (result == LAdministratorRefused) {
    process.SetErrorF("%s may not be run as administrator", program);
  } else if (result == LAdministratorNobodyAsks) {
    process.SetErrorF("Nothing asks for the password to run %s as administrator", program);
  } else if (result == LAdministratorFailed) {
    process.SetErrorF("Cannot run %s as administrator: %s", program, output.Text());
  }
}

}  // namespace

const char* FindPkexec() {
  static constexpr const char* kPlaces[] = {"/run/wrappers/bin/pkexec", "/usr/bin/pkexec",
                                            "/usr/local/bin/pkexec"};
  struct stat file = {};
  for (const char* place : kPlaces) {
    if (stat(place, &file) == 0 && S_ISREG(file.st_mode) && file.st_uid == 0 &&
        access(place, X_OK) == 0)
      return place;
  }
  return nullptr;
}

LAdministratorResult RunThroughPkexec(LProcessInterface& process, const char* pkexec,
                                      const char* const* arguments,
                                      LStringLongTemplate<char>& output, int& exitStatus) {
  if (pkexec == nullptr) {
    process.SetErrorF("Cannot run %s as administrator: pkexec is not installed", arguments[0]);
    return LAdministratorNotInstalled;
  }
  // Not its own way of asking, in the terminal: the program has none, and a terminal is not where
  // the user of a window looks.
  std::vector<const char*> all = {pkexec, "--disable-internal-agent"};
  for (const char* const* argument = arguments; *argument != nullptr; ++argument)
    all.push_back(*argument);
  all.push_back(nullptr);
  int status = -1;
  const int ran = LRunProgram(process, all.data(), output, LSignalWaitForever, &status);
  if (ran != 0) return static_cast<LAdministratorResult>(ran);
  const LAdministratorResult result = ResultOf(status, output);
  exitStatus = result == LAdministratorDone ? status : -1;
  TellFailure(process, result, arguments[0], output);
  return result;
}
