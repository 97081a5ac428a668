// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_PIPE_H
#define ZORVEX_FOUNDATION_FILES_PIPE_H

#include <cstdio>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/files/filereader.h>
#include <zorvex/foundation/files/filewriter.h>

/// \file
/// Commands of the shell, and pipes from and to them.
///
/// A command is run by `/bin/sh -c`. It does not inherit the descriptors handed out here, but every
/// other one that is not close-on-exec. Commands begun by OpenPipe, LPipeIn and LPipeInOut start
/// with no signal blocked and with SIGPIPE's default action, whatever the calling thread has.
///
/// Writing to a command that is gone fails (EPIPE) and does not raise SIGPIPE in this process.
///
/// Closing takes a time limit in milliseconds, 4294967295 for none. It closes the pipe, so that the
/// command reads the end of its input, and its output fails; then it waits for the command to end.
/// It gives the status as waitpid(2) does, or -1 when the command had not ended in time, and when
/// somebody else in this process took the status. A command that goes on is left alone; a thread
/// that does nothing else waits for it, so that no zombie stays. Destructors give it a second. With
/// a limit of 0 it is this thread that closes the pipe of LPipeOut, a moment later. Where the
/// system can make no thread, closing waits without a limit.
///
/// The classes here are for one thread at a time.

/// Runs a command with its standard output and input on two pipes. Gives in `pid` its process,
/// which the caller has to wait for, or -1, and false when pipes or process could not be made: no
/// descriptors or no memory left. A shell that can not be started counts as a command that ended
/// with status 1.
///
/// Only a descriptor that comes in negative is handed out, close-on-exec, and then is the caller's:
/// `readFd` to read the command's output, `writeFd` to write its input. Both ends of a pipe that
/// was not asked for stay open in this process for good: such a command never reads the end of its
/// input.
ZORVEX_API bool OpenPipe(int& pid, int& readFd, int& writeFd, const char* command);

/// Reads the output of a command. Its input is a pipe that stays empty and open; each opening
/// leaves the two descriptors of that pipe behind, see OpenPipe.
class ZORVEX_API LPipeIn {
 public:
  LPipeIn() = default;
  ~LPipeIn() { Close(); }
  LPipeIn(const LPipeIn&) = delete;
  LPipeIn& operator=(const LPipeIn&) = delete;

  /// Closes what was open, then starts the command.
  bool _Open(const char* command);
  [[nodiscard]] LReadFileRef Reader() const { return readDescriptor_; }
  [[nodiscard]] int Pid() const { return pid_; }
  /// Closes the pipe and waits for the command; its status as above.
  int Close(unsigned int timeoutMs = 1000);

 private:
  int readDescriptor_ = -1;
  int pid_ = -1;
};

/// Writes the input of a command, whose output goes where this process's own goes.
class ZORVEX_API LPipeOut {
 public:
  LPipeOut() = default;
  ~LPipeOut() { Close(); }
  LPipeOut(const LPipeOut&) = delete;
  LPipeOut& operator=(const LPipeOut&) = delete;

  /// Closes what was open, then starts the command.
  bool _Open(const char* command);
  [[nodiscard]] LWriteFileRef Writer() const { return descriptor_; }
  /// Closes the pipe and waits for the command; its status as above.
  int Close(unsigned int timeoutMs = 1000);

 private:
  std::FILE* stream_ = nullptr;
  int descriptor_ = -1;
};

/// Writes the input of a command and reads its output. Who writes much before reading waits for
/// ever when the command answers while it is still being written to, and nobody reads.
class ZORVEX_API LPipeInOut {
 public:
  LPipeInOut() = default;
  ~LPipeInOut() { Close(); }
  LPipeInOut(const LPipeInOut&) = delete;
  LPipeInOut& operator=(const LPipeInOut&) = delete;

  /// Closes what was open, then starts the command. The two numbers change nothing.
  bool _Open(const char* command, unsigned long, unsigned long);
  [[nodiscard]] LReadFileRef Reader() const { return readDescriptor_; }
  [[nodiscard]] LWriteFileRef Writer() const { return writeDescriptor_; }
  [[nodiscard]] int Pid() const { return pid_; }
  /// The command reads the end of its input; its output can still be read.
  void CloseWriter();
  /// Closes the pipe and waits for the command; its status as above.
  int Close(unsigned int timeoutMs = 1000);

 private:
  int readDescriptor_ = -1;
  int writeDescriptor_ = -1;
  int pid_ = -1;
};

#endif  // ZORVEX_FOUNDATION_FILES_PIPE_H
