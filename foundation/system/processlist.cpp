// SPDX-License-Identifier: MIT
#include "foundation/system/processlist.h"

#include <unistd.h>

#include "foundation/files/pathtext.h"
#include "platform/processlist.h"

namespace {

void Tell(const ProcessEntry& entry, LProcessInformation& information) {
  information.pid = entry.pid;
  information.parentPid = entry.parentPid;
  information.userId = entry.userId;
  information.startTime = entry.startTime;
  CopyPath(information.name, entry.name);
  CopyPath(information.path, entry.path);
}

}  // namespace

LProcessIterator::LProcessIterator() : pids_(ListProcesses()) {}

bool LProcessIterator::Next(LProcessInformation& process) {
  while (next_ < pids_.size()) {
    if (LGetProcess(pids_[next_++], process)) return true;
  }
  return false;
}

bool LGetProcess(int pid, LProcessInformation& information) {
  ProcessEntry entry;
  if (pid <= 0 || !ReadProcess(pid, entry)) return false;
  Tell(entry, information);
  return true;
}

bool LFindProcess(const char* name, LProcessInformation& information) {
  ProcessEntry entry;
  for (const int pid : ListProcesses()) {
    if (pid == getpid() || !ReadProcess(pid, entry) || entry.name != name) continue;
    Tell(entry, information);
    return true;
  }
  return false;
}
