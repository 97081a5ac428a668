// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_CHILDPROGRAM_H
#define ZORVEX_FOUNDATION_SYSTEM_CHILDPROGRAM_H

/// How a program begins. It begins with no signal blocked and with the default action of every
/// signal, whatever this process does with them, and with no descriptors but the standard ones.
struct ChildProgram {
  /// Ends with a null pointer. The first one names the program, which is looked for along PATH when
  /// it has no slash.
  const char* const* arguments;
  /// Become its standard ones; 3 or above, or -1 for those of this process.
  int input = -1;
  int output = -1;
  int errors = -1;
  /// In a session, and so a group of processes, of its own: its number is that of the process.
  /// Without a terminal, so that nothing it does there stops it.
  bool hasOwnSession = false;
};

/// Starts it as a child of this process, which somebody has to wait for. Gives 0, or the error
/// number when there are no processes left or the program cannot be executed.
int StartChildProgram(const ChildProgram& program, int& pid);

/// The status of a child as waitpid(2) gives it; -1 when somebody else has taken it. Waits.
int WaitForChildProgram(int pid);

#endif  // ZORVEX_FOUNDATION_SYSTEM_CHILDPROGRAM_H
