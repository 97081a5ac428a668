// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_SHELL_H
#define ZORVEX_FOUNDATION_SYSTEM_SHELL_H

#include <cstdint>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>
#include <zorvex/foundation/threads/processinterface.h>

/// \file
/// Running commands and programs, and gathering their output.
///
/// **A command** is a text for the shell: it is run by `/bin/sh -c`. What a user typed, or a file's
/// name, does not belong into one: the shell would read it. **A program** is run with a list of
/// arguments, which reach it byte for byte and which no shell reads. The list begins with the
/// program and ends with a null pointer; a program without a slash is looked for along PATH. What
/// the system cannot execute by itself, a script without a "#!" line for one, does not run.
///
/// **What they begin with** is the same for all: the working folder, the environment and the umask
/// of this process; no signal blocked and the default action for each, whatever this process has
/// set; of its descriptors none but the standard ones, even if they are not close-on-exec (where
/// the system can do that, as Linux).
///
/// **The end of a child** is this process's own affair. The functions here wait for the process
/// that they started and for no other. A host that waits for any child, or ignores SIGCHLD, takes
/// the status away from them: it is then unknown. A SIGCHLD arrives for each.
///
/// Texts and lists are borrowed for the call. Any thread may call anything here, as long as none
/// changes the environment meanwhile.

/// Runs a command and waits for it, without a limit. Its input and output are those of this
/// process. True when it ended with status 0; false also when it could not be started or its status
/// is unknown.
ZORVEX_API bool LRunShellCommand(const char* command);

/// Starts a program without waiting for it. It goes on when this process ends: it has a session of
/// its own, without a terminal; its input is empty, its output goes where this process's own goes.
/// It leaves no zombie: a thread that does nothing else waits for it. False when it cannot be
/// executed, and when there are no descriptors, threads or processes left; nothing runs then.
ZORVEX_API bool LStartProgram(const char* const* arguments);

/// \name Running and gathering the output
///
/// The results are those of the waits of LProcessInterface:
///
/// - 0: it has ended, with whatever status. In particular a command that the shell does not find
///   ends with status 127.
/// - 1: a stop was requested, before or while it ran.
/// - 2: it could not be started, or did not end in time; SetError of the interface tells which.
///
/// `exitStatus`, which may be null, is then what it exited with, from 0 to 255; as for the shell,
/// 128 and the number of the signal when one ended it; -1 when it has not ended or that is unknown.
///
/// `timeoutMs` is in milliseconds, 4294967295 (LSignalWaitForever) for no limit.
///
/// It has a session of its own, and no terminal. **A stop request and the end of the time** end it,
/// and what it started unless that has left its group of processes: SIGTERM goes to all of them,
/// and SIGKILL to those that are left when the program itself has ended, or a second later. What
/// cannot be killed in another second, because it hangs in a device or because it has become
/// another user's, is left alone. So each ends within about two seconds of its cause.
///
/// **The output** is bytes: it may hold NUL and need not be UTF-8; it is terminated. It replaces
/// what the string had, also with nothing when nothing was started, and with what there was until
/// then after a stop. All that the program itself wrote is gathered. Processes that it left running
/// and that hold its output get 0.2 seconds to end; what they write later they write to nobody.
/// Input may be part of an output string, the command and the arguments must not.
///
/// std::bad_alloc is thrown when there is no memory for the output. The program is killed then.
/// @{

/// What a program reads, and where what it writes goes.
struct LProgramStreams {
  /// So many bytes are its input. They are copied (into an unnamed file, which is its input), so
  /// that it matters neither when it reads them nor whether it does. Null: there is no input.
  const char* input = nullptr;
  std::uint64_t inputLength = 0;

  /// Receives its standard output; null when that is not wanted.
  LStringLongTemplate<char>* output = nullptr;
  /// Receives its error output; null when that belongs with the standard output, in the order in
  /// which both were written.
  LStringLongTemplate<char>* errorOutput = nullptr;

  /// The most bytes that either string gets. The rest is read and dropped, so that the program runs
  /// to its end.
  std::uint64_t outputLimit = ~std::uint64_t{0};
};

/// Runs a program, with everything as it is said above.
ZORVEX_API int LRunProgram(LProcessInterface& process, const char* const* arguments,
                           const LProgramStreams& streams,
                           unsigned int timeoutMs = LSignalWaitForever, int* exitStatus = nullptr);

/// Without input; standard and error output together.
ZORVEX_API int LRunProgram(LProcessInterface& process, const char* const* arguments,
                           LStringLongTemplate<char>& output,
                           unsigned int timeoutMs = LSignalWaitForever, int* exitStatus = nullptr);

/// The same two for a command.
ZORVEX_API int LRunShellCommand(LProcessInterface& process, const char* command,
                                const LProgramStreams& streams,
                                unsigned int timeoutMs = LSignalWaitForever,
                                int* exitStatus = nullptr);
ZORVEX_API int LRunShellCommand(LProcessInterface& process, const char* command,
                                LStringLongTemplate<char>& output,
                                unsigned int timeoutMs = LSignalWaitForever,
                                int* exitStatus = nullptr);
/// @}

#endif  // ZORVEX_FOUNDATION_SYSTEM_SHELL_H
