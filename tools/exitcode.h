// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_EXITCODE_H
#define ZORVEX_TOOLS_EXITCODE_H

#include <stdexcept>
#include <string>

/// What the program tells its caller; the help text describes each one.
enum class ExitCode {
  Done = 0,
  Usage = 2,
  NoSuchDevice = 3,
  Busy = 4,
  CannotOpen = 5,
  CannotWrite = 6,
  Lost = 7,
  Unable = 8,
  Interrupted = 130,
};

/// Ends the command with a message for the user.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode Code() const { return code_; }

 private:
  ExitCode code_;
};

#endif  // ZORVEX_TOOLS_EXITCODE_H
