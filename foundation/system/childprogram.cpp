// SPDX-License-Identifier: MIT
#include "foundation/system/childprogram.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace {

class FileActions {
 public:
  explicit FileActions(const ChildProgram& program) {
    error_ = posix_spawn_file_actions_init(&actions_);
    Put(program.input, STDIN_FILENO);
    Put(program.output, STDOUT_FILENO);
    Put(program.errors, STDERR_FILENO);
    // An extension that some systems have. Where it is missing, what the process opened without
    // close-on-exec is inherited.
#ifdef __GLIBC__
#if __GLIBC_PREREQ(2, 34)
    if (error_ == 0)
      error_ = posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
#endif
#endif
  }
  ~FileActions() {
    posix_spawn_file_actions_destroy(&actions_);
  }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  /// The error number, when they are not whole for want of memory: the program would then have
  /// descriptors of this process.
  [[nodiscard]] int Error() const {
    return error_;
  }
  [[nodiscard]] const posix_spawn_file_actions_t* Get() const {
    return &actions_;
  }

 private:
  void Put(int descriptor, int number) {
    if (descriptor >= 0 && error_ == 0)
      error_ = posix_spawn_file_actions_adddup2(&actions_, descriptor, number);
  }

  int error_ = 0;
  posix_spawn_file_actions_t actions_;
};

class Attributes {
 public:
  explicit Attributes(const ChildProgram& program) {
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    if (program.hasOwnSession) flags |= POSIX_SPAWN_SETSID;
    posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
  }
  ~Attributes() { posix_spawnattr_destroy(&attributes_); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  [[nodiscard]] const posix_spawnattr_t* Get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
};

}  // namespace

// posix_spawn, not fork: it takes no longer in a process that holds much memory, stops none of its
// threads, runs no code of ours in the child, and tells why a program cannot be executed.
int StartChildProgram(const ChildProgram& program, int& pid) {
  if (program.arguments == nullptr || program.arguments[0] == nullptr) return EINVAL;
  const FileActions actions(program);
  if (actions.Error() != 0) return actions.Error();
  const Attributes attributes(program);
  return posix_spawnp(&pid, program.arguments[0], actions.Get(), attributes.Get(),
                      const_cast<char* const*>(program.arguments), environ);
}

int WaitForChildProgram(int pid) {
  int status = 0;
  pid_t ended = 0;
  do {
    ended = waitpid(pid, &status, 0);
  } while (ended < 0 && errno == EINTR);
  return ended == pid ? status : -1;
}
