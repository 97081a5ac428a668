// SPDX-License-Identifier: MIT
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <system_error>

#include "foundation/files/descriptorio.h"
#include "foundation/system/childpipe.h"
#include "foundation/system/deadline.h"
#include "foundation/system/programoutput.h"
#include "foundation/system/runningprogram.h"
#include "foundation/system/shell.h"
#include "platform/anonymousfile.h"

namespace {

using std::chrono::milliseconds;

// For what the program left running to end, too, and for the program to end when it was told so.
constexpr milliseconds kGraceForOutput(200);
constexpr milliseconds kGraceForEnd(1000);
// Between two looks on systems where the end of a process is no descriptor to wait for.
constexpr unsigned int kLookMs = 20;

int ExitStatusOf(int status) {
  if (status == -1) return -1;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

// A file, not a pipe: it takes everything at once, so that nobody waits for a program that does not
// read while that waits for its output to be read.
UniqueFd MakeInput(const LProgramStreams& streams) {
  if (streams.input == nullptr || streams.inputLength == 0) return OpenNothing();
  UniqueFd file = AboveStandardDescriptors(OpenAnonymousFile());
  for (std::uint64_t done = 0; file && done < streams.inputLength;) {
    const ssize_t count = WriteOnce(file.Get(), streams.input + done, streams.inputLength - done);
    if (count <= 0) return {};
    done += static_cast<std::uint64_t>(count);
  }
  if (file && lseek(file.Get(), 0, SEEK_SET) != 0) return {};
  return file;
}

/// One program from its start to its end.
class ProgramRun {
 public:
  ProgramRun(LProcessInterface& process, const LProgramStreams& streams)
      : process_(process), streams_(streams) {}

  int Run(const char* const* arguments, unsigned int timeoutMs, int& exitStatus) {
    const int notStarted = process_.IsToStop() ? 1 : Start(arguments);
    if (notStarted != 0) {
      EmptyOutput();
      return notStarted;
    }
    const int result = Gather(process_, Deadline::In(timeoutMs));
    if (result == 0) {
      exitStatus = ExitStatusOf(program_.TakeStatus());
      return 0;
    }
    exitStatus = End();
    if (result == 2) process_.SetErrorF("%s has not ended in time", NameOf(arguments));
    return result;
  }

 private:
  static const char* NameOf(const char* const* arguments) {
    return arguments != nullptr && arguments[0] != nullptr ? arguments[0] : "a program";
  }

  [[nodiscard]] bool HasOwnErrors() const {
    return streams_.errorOutput != nullptr && streams_.errorOutput != streams_.output;
  }

  void EmptyOutput() const {
    if (streams_.output != nullptr) streams_.output->SetLength(0);
    if (streams_.errorOutput != nullptr) streams_.errorOutput->SetLength(0);
  }

  int Start(const char* const* arguments) {
    const int error = StartWithStreams(arguments);
    if (error == 0) {
      EmptyOutput();
      return 0;
    }
    process_.SetErrorF("Cannot run %s: %s", NameOf(arguments),
                       std::generic_category().message(error).c_str());
    return 2;
  }

  int StartWithStreams(const char* const* arguments) {
    const UniqueFd input = MakeInput(streams_);
    const UniqueFd nothing = OpenNothing();
    const bool isOpen =
        input && nothing &&
        (streams_.output == nullptr || output_.Open(*streams_.output, streams_.outputLimit)) &&
        (!HasOwnErrors() || errors_.Open(*streams_.errorOutput, streams_.outputLimit));
    if (!isOpen) return errno;
    const int output = streams_.output != nullptr ? output_.WriteDescriptor() : nothing.Get();
    const int errors = HasOwnErrors() ? errors_.WriteDescriptor() : output;
    const int error = program_.Start(
        {.arguments = arguments, .input = input.Get(), .output = output, .errors = errors});
    output_.CloseWriteEnd();
    errors_.CloseWriteEnd();
    return error;
  }

  /// Takes the output until the program has ended, and those that hold its output have or had their
  /// time. 1 and 2 as for the waits.
  int Gather(LProcessInterface& process, Deadline deadline) {
    Deadline grace;
    for (bool wasRunning = true;;) {
      // Asked before reading, so that what it wrote up to its end is read.
      const bool hasEnded = program_.HasEnded();
      output_.Read();
      errors_.Read();
      if (hasEnded) {
        if (output_.IsAtEnd() && errors_.IsAtEnd()) return 0;
        if (wasRunning) grace = Deadline(kGraceForOutput);
        wasRunning = false;
        if (grace.IsOver()) return 0;
      } else if (deadline.IsOver()) {
        return 2;
      }
      if (Wait(process, hasEnded, hasEnded ? grace : deadline) == 1) return 1;
    }
  }

  int Wait(LProcessInterface& process, bool hasEnded, Deadline deadline) {
    LSignalObjectGroup group;
    if (!hasEnded) group.Add(program_.Ended());
    group.Add(output_.Readable());
    group.Add(errors_.Readable());
    unsigned int timeoutMs = deadline.RemainingMs();
    const bool isEndSeen = hasEnded || program_.Ended().ReadDescriptor() != -1;
    if (!isEndSeen) timeoutMs = std::min(timeoutMs, kLookMs);
    const bool isAnythingSeen = isEndSeen || !output_.IsAtEnd() || !errors_.IsAtEnd();
    return isAnythingSeen ? process.ProcessWaitSignalObjectGroup(group, timeoutMs)
                          : process.ProcessWait(timeoutMs);
  }

  /// Ends it with all it started, and gives its exit status. The interface, which has been asked to
  /// stop, would not wait any more.
  int End() {
    LProcessInterfaceVoid patience;
    // Who is stopped cannot heed the first signal.
    if (program_.SignalGroup(SIGTERM) && program_.SignalGroup(SIGCONT))
      Gather(patience, Deadline(kGraceForEnd));
    return ExitStatusOf(program_.Kill());
  }

  LProcessInterface& process_;
  const LProgramStreams& streams_;
  ProgramOutput output_;
  ProgramOutput errors_;
  RunningProgram program_;
};

}  // namespace

int LRunProgram(LProcessInterface& process, const char* const* arguments,
                const LProgramStreams& streams, unsigned int timeoutMs, int* exitStatus) {
  int status = -1;
  const int result = ProgramRun(process, streams).Run(arguments, timeoutMs, status);
  if (exitStatus != nullptr) *exitStatus = status;
  return result;
}

int LRunProgram(LProcessInterface& process, const char* const* arguments,
                LStringLongTemplate<char>& output, unsigned int timeoutMs, int* exitStatus) {
  return LRunProgram(process, arguments, {.output = &output}, timeoutMs, exitStatus);
}

int LRunShellCommand(LProcessInterface& process, const char* command,
                     const LProgramStreams& streams, unsigned int timeoutMs, int* exitStatus) {
  const char* const arguments[] = {"/bin/sh", "-c", command, nullptr};
  return LRunProgram(process, arguments, streams, timeoutMs, exitStatus);
}

int LRunShellCommand(LProcessInterface& process, const char* command,
                     LStringLongTemplate<char>& output, unsigned int timeoutMs, int* exitStatus) {
  return LRunShellCommand(process, command, {.output = &output}, timeoutMs, exitStatus);
}
