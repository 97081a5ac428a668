// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_PROCESSLIST_H
#define ZORVEX_PLATFORM_PROCESSLIST_H

#include <string>
#include <vector>

/// What the system tells of a running process.
struct ProcessEntry {
  int pid = 0;
  int parentPid = 0;
  /// Its effective user.
  unsigned int userId = 0;
  /// Seconds since 1970 UTC.
  long startTime = 0;
  /// Tells it from an earlier process with the same number.
  unsigned long long birth = 0;
  /// The name of the file that it executes. Where that is not to be seen, the name of what it was
  /// started by, or the system's name for it, which may be a cut one.
  std::string name;
  /// That file; empty where it is not to be seen.
  std::string path;
};

/// The numbers of all processes that this one may see, in no order. None, not even this one's, when
/// there are no descriptors or no memory left; `errno` tells. Any thread.
std::vector<int> ListProcesses();

/// False when there is no such process (any more) or it is not to be seen, when it is a zombie, and
/// for threads of the system itself. Also when it could not look for want of descriptors or memory:
/// `errno` is EMFILE, ENFILE or ENOMEM then, and only then. Any thread.
bool ReadProcess(int pid, ProcessEntry& entry);

#endif  // ZORVEX_PLATFORM_PROCESSLIST_H
