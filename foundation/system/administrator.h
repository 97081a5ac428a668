// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_ADMINISTRATOR_H
#define ZORVEX_FOUNDATION_SYSTEM_ADMINISTRATOR_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>
#include <zorvex/foundation/threads/processinterface.h>

/// The results of LRunProgramAsAdministrator; the first three are those of LRunProgram.
enum LAdministratorResult : int {
  /// The program ran and has ended, with whatever status.
  LAdministratorDone = 0,
  LAdministratorStopped = 1,
  /// The program was not named by its whole path or does not exist, nothing could be started, or
  /// the service that decides does not work.
  LAdministratorFailed = 2,
  /// The user closed the question for the password. Not worth a message.
  LAdministratorDismissed = 3,
  /// The user may not do this, or has not shown that he is who he says.
  LAdministratorRefused = 4,
  /// There is nobody to ask for the password: no session on a desktop, or none of its programs
  /// that do.
  LAdministratorNobodyAsks = 5,
  /// The system has no polkit, or not its program pkexec.
  LAdministratorNotInstalled = 6,
};

/// Runs a program as root, with the leave of polkit, which asks the user for a password or decides
/// by rule; in a process that is root it just runs. Waits for the question and the program, without
/// a limit.
///
/// The program is named by its whole path, from "/" on, so that no folder in PATH can put another
/// one in its place, and so that the user is asked about just that. It is run with the arguments as
/// they are; no shell reads them. (Who gives the path of a shell and a command, gives root a text
/// to read.) It begins as LRunProgram says, except that through polkit its working folder is that
/// of root and of its environment nearly nothing is left. It has no input.
///
/// `output`, which may be null, gets its standard and error output together, or what polkit's
/// pkexec said. `exitStatus`, which may be null, gets the program's exit status as of LRunProgram;
/// -1 with all results but 0, and when it is unknown (shell.h): pkexec has run the program then if
/// it has not said that it did not.
///
/// The result is one of LAdministratorResult. Those from 2 on are told by SetError, too, except for
/// LAdministratorDismissed. pkexec exits with 126 and 127 for its own reasons; it is by what it
/// says that those are told from a program that does so. What it says that is not known counts as
/// LAdministratorFailed, so a program should not exit with 127.
///
/// A stop request closes the question. A program that runs as root already cannot be ended by a
/// process that is not: it is left alone then, with nobody who reads its output.
///
/// pkexec is looked for where systems have it ("/usr/bin", "/usr/local/bin", "/run/wrappers/bin")
/// and never along PATH, and not run unless it belongs to root. Any thread; throws std::bad_alloc
/// as LRunProgram does.
ZORVEX_API int LRunProgramAsAdministrator(LProcessInterface& process, const char* const* arguments,
                                          LStringLongTemplate<char>* output = nullptr,
                                          int* exitStatus = nullptr);

/// Whether LRunProgramAsAdministrator can do anything: this process is root, or pkexec is there.
/// Whether somebody asks for the password, and whether it is known, turns out later.
ZORVEX_API bool LCanRunAsAdministrator();

#endif  // ZORVEX_FOUNDATION_SYSTEM_ADMINISTRATOR_H
