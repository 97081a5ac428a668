// SPDX-License-Identifier: MIT
#include "foundation/system/administrator.h"

#include "foundation/system/pkexec.h"
#include "foundation/system/shell.h"
#include "foundation/system/users.h"

int LRunProgramAsAdministrator(LProcessInterface& process, const char* const* arguments,
                               LStringLongTemplate<char>* output, int* exitStatus) {
  LStringLongTemplate<char> ownOutput;
  LStringLongTemplate<char>& text = output != nullptr ? *output : ownOutput;
  int status = -1;
  int result = LAdministratorFailed;
  if (arguments == nullptr || arguments[0] == nullptr || arguments[0][0] != '/') {
    process.SetError("A program to be run as administrator is named by its whole path");
    text.SetLength(0);
  } else if (LIsRootUser()) {
    result = LRunProgram(process, arguments, text, LSignalWaitForever, &status);
  } else {
    result = RunThroughPkexec(process, FindPkexec(), arguments, text, status);
  }
  if (exitStatus != nullptr) *exitStatus = result == LAdministratorDone ? status : -1;
  return result;
}

bool LCanRunAsAdministrator() {
  return LIsRootUser() || FindPkexec() != nullptr;
}
