// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FOLDERIDENTITY_H
#define ZORVEX_PLATFORM_FOLDERIDENTITY_H

/// Which folder an open one is, whatever its name is by now.
struct FolderIdentity {
  unsigned long long device = 0;
  unsigned long long inode = 0;
  /// Whether a volume, or a part of one, is mounted here.
  bool isMountPoint = false;

  /// The same folder. Whether something was mounted meanwhile is another question.
  bool operator==(const FolderIdentity& other) const {
    return device == other.device && inode == other.inode;
  }
};

/// Of an open folder. False, with the reason in `errno`, when it cannot be told. Any thread.
bool ReadFolderIdentity(int folder, FolderIdentity& identity);

#endif  // ZORVEX_PLATFORM_FOLDERIDENTITY_H
