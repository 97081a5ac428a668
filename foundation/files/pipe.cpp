// SPDX-License-Identifier: MIT
#include "foundation/files/pipe.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "foundation/files/childwait.h"
#include "foundation/files/descriptorio.h"
#include "platform/uniquefd.h"

namespace {

struct PipeEnds {
  UniqueFd read, write;

  /// All ends are close-on-exec from the beginning, so that no command which another thread starts
  /// at this moment keeps them open.
  bool Open() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    read = UniqueFd(ends[0]);
    write = UniqueFd(ends[1]);
    return MoveUp(read) && MoveUp(write);
  }
  void LeaveOpen() {
    read.Release();
    write.Release();
  }

 private:
  // Where this process has closed its standard input, output or error, an end may have got that
  // number: what the child puts there would close it, and what this process prints would go into
  // it.
  static bool MoveUp(UniqueFd& end) {
    if (end.Get() <= STDERR_FILENO) {
      end = UniqueFd(fcntl(end.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    return static_cast<bool>(end);
  }
};

/// Holds the numbers 0 to 2 where this process has closed them, so that nothing that is opened
/// meanwhile gets one of them.
class StandardNumbersHeld {
 public:
  StandardNumbersHeld() {
    for (UniqueFd& held : held_) {
      UniqueFd descriptor(open("/dev/null", O_RDWR | O_CLOEXEC));
      if (descriptor.Get() > STDERR_FILENO) break;
      held = std::move(descriptor);
    }
  }

 private:
  UniqueFd held_[STDERR_FILENO + 1];
};

/// What is done in the child before the shell runs.
class ChildSetUp {
 public:
  ChildSetUp(int input, int output) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, input, STDIN_FILENO);
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~ChildSetUp() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  ChildSetUp(const ChildSetUp&) = delete;
  ChildSetUp& operator=(const ChildSetUp&) = delete;

  int Spawn(int& pid, const char* command) const {
    char name[] = "sh";
    char option[] = "-c";
    char* const arguments[] = {name, option, const_cast<char*>(command), nullptr};
    return posix_spawn(&pid, "/bin/sh", &actions_, &attributes_, arguments, environ);
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

// posix_spawn, not fork: it takes no longer in a process that holds much memory, stops none of its
// threads, and runs no code of ours in the child. The pipes' ends are closed there as the shell is
// run.
int StartShell(int input, int output, const char* command) {
  int pid = -1;
  const int error = ChildSetUp(input, output).Spawn(pid, command);
  if (error == 0) return pid;
  if (error == EAGAIN || error == ENOMEM) return -1;
  // There was a process, but it could not run the shell. It is made up for by one that ends as
  // that would have.
  pid = fork();
  if (pid == 0) _exit(1);
  return pid;
}

int CloseDescriptor(int& descriptor) {
  const int closed = std::exchange(descriptor, -1);
  return closed == -1 ? 0 : close(closed);
}

void CloseWriteDescriptor(int& descriptor) {
  if (descriptor != -1) MarkPipeToChild(descriptor, false);
  CloseDescriptor(descriptor);
}

int WaitForCommand(int& pid, unsigned int timeoutMs) {
  const int child = std::exchange(pid, -1);
  return child == -1 ? -1 : WaitForChild(child, timeoutMs);
}

}  // namespace

bool OpenPipe(int& pid, int& readFd, int& writeFd, const char* command) {
  pid = -1;
  PipeEnds output;
  PipeEnds input;
  if (!output.Open() || !input.Open()) return false;
  pid = StartShell(input.read.Get(), output.write.Get(), command);
  if (pid == -1) return false;
  // The ends of a pipe that was not asked for stay open: it is deliberate that such a command can
  // write without a reader, and that it waits for input that never comes.
  if (readFd < 0) {
    readFd = output.read.Release();
  } else {
    output.LeaveOpen();
  }
  if (writeFd < 0) {
    writeFd = input.write.Release();
    MarkPipeToChild(writeFd, true);
  } else {
    input.LeaveOpen();
  }
  return true;
}

bool LPipeIn::_Open(const char* command) {
  Close();
  int notWanted = 0;
  return OpenPipe(pid_, readDescriptor_, notWanted, command);
}

int LPipeIn::Close(unsigned int timeoutMs) {
  CloseDescriptor(readDescriptor_);
  return WaitForCommand(pid_, timeoutMs);
}

bool LPipeOut::_Open(const char* command) {
  Close();
  const StandardNumbersHeld held;
  // Close-on-exec from the beginning: another command that kept this end would keep ours from
  // reading the end of its input.
  stream_ = popen(command, "we");  // NOLINT(cert-env33-c): running commands is what it is for
  if (!stream_) return false;
  descriptor_ = fileno(stream_);
  MarkPipeToChild(descriptor_, true);
  return true;
}

int LPipeOut::Close(unsigned int timeoutMs) {
  if (!stream_) return -1;
  MarkPipeToChild(std::exchange(descriptor_, -1), false);
  return ClosePipeStream(std::exchange(stream_, nullptr), timeoutMs);
}

bool LPipeInOut::_Open(const char* command, unsigned long, unsigned long) {
  Close();
  return OpenPipe(pid_, readDescriptor_, writeDescriptor_, command);
}

void LPipeInOut::CloseWriter() {
  CloseWriteDescriptor(writeDescriptor_);
}

int LPipeInOut::Close(unsigned int timeoutMs) {
  CloseWriter();
  CloseDescriptor(readDescriptor_);
  return WaitForCommand(pid_, timeoutMs);
}
