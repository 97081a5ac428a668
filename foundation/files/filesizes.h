// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FILESIZES_H
#define ZORVEX_FOUNDATION_FILES_FILESIZES_H

#include "foundation/files/folderhandle.h"

/// The size of an entry if it is a regular file, else 0.
inline unsigned long long SizeOfFile(int folder, const char* name) {
  struct stat status = {};
  const bool isFile =
      fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode);
  return isFile ? static_cast<unsigned long long>(status.st_size) : 0;
}

/// Adds up the sizes of the regular files of a folder, and of the folders in it that
/// `rules.IsToEnter(folder)` lets in, as long as `rules.IsToGoOn()`. What cannot be read counts
/// nothing.
template <typename Rules>
unsigned long long SizeOfFiles(FolderHandle& root, Rules& rules) {
  unsigned long long size = 0;
  // Not calls of each other: trees may be deep and a thread's stack small.
  std::vector<FolderHandle> below;
  while (true) {
    FolderHandle& folder = below.empty() ? root : below.back();
    const dirent* const entry = rules.IsToGoOn() ? folder.Next() : nullptr;
    if (entry == nullptr) {
      if (below.empty()) return size;
      below.pop_back();
      continue;
    }
    const EntryKind kind = KindOf(folder.Descriptor(), *entry);
    if (kind == EntryKind::kFile) size += SizeOfFile(folder.Descriptor(), entry->d_name);
    if (kind != EntryKind::kFolder) continue;
    FolderHandle inner = FolderHandle::Open(folder.Descriptor(), entry->d_name);
    if (inner && rules.IsToEnter(inner) && ReserveOneMore(below)) below.push_back(std::move(inner));
  }
}

#endif  // ZORVEX_FOUNDATION_FILES_FILESIZES_H
