// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_PKEXEC_H
#define ZORVEX_FOUNDATION_SYSTEM_PKEXEC_H

#include "foundation/system/administrator.h"

/// The parts of LRunProgramAsAdministrator, where another program can be given for pkexec.

/// Where pkexec is; null when there is none.
const char* FindPkexec();

/// LRunProgramAsAdministrator for a user that is not root; `pkexec` may be null.
LAdministratorResult RunThroughPkexec(LProcessInterface& process, const char* pkexec,
                                      const char* const* arguments,
                                      LStringLongTemplate<char>& output, int& exitStatus);

#endif  // ZORVEX_FOUNDATION_SYSTEM_PKEXEC_H
