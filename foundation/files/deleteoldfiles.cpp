// SPDX-License-Identifier: MIT
#include <ctime>

#include "foundation/files/folderhandle.h"
#include "foundation/files/folderiterator.h"
#include "platform/birthtime.h"

namespace {

constexpr long long kSecondsOfDay = 86400;

/// A link is as old as itself. One that leads nowhere counts as a file that nothing is known of.
long long BirthTimeOrZero(int folder, const char* name) {
  long long seconds = 0;
  struct stat status = {};
  return fstatat(folder, name, &status, 0) == 0 && ReadBirthTime(folder, name, seconds) ? seconds
                                                                                        : 0;
}

bool DeleteEntry(int folder, const char* name, bool isFolder) {
  if (unlinkat(folder, name, isFolder ? AT_REMOVEDIR : 0) == 0 || errno == ENOENT) return true;
  return isFolder && (errno == ENOTEMPTY || errno == EEXIST);
}

}  // namespace

bool LFile::DeleteOldFiles(const char* folder, const char* pattern, int days) {
  if (days < 1 || !FolderHandle::OpenFollowing(AT_FDCWD, folder)) return false;
  const long long cutOff = std::time(nullptr) - days * kSecondsOfDay;
  bool isDone = true;
  FolderIterator entries;
  for (bool isAt = entries.Open(folder, pattern); isAt; isAt = entries.Next()) {
    const int descriptor = entries.FolderDescriptor();
    const char* const name = entries.GetFileName();
    // By the creation on purpose, where DeleteFolderContents goes by the last modification.
    if (BirthTimeOrZero(descriptor, name) >= cutOff) continue;
    isDone = DeleteEntry(descriptor, name, entries.IsFolder()) && isDone;
  }
  return isDone;
}
