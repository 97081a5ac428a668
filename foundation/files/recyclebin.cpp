// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <cstring>

#include "foundation/files/file.h"
#include "foundation/files/folderhandle.h"
#include "foundation/files/pathtext.h"

namespace {

/// A folder that is missing or cannot be read is taken for an empty one.
bool IsEmpty(FolderHandle folder) {
  if (!folder) return true;
  while (const dirent* const entry = folder.Next()) {
    // The file browser's notes about the folder itself.
    if (std::strcmp(entry->d_name, ".DS_Store") != 0) return false;
  }
  return true;
}

FolderHandle OpenIn(const FolderHandle& folder, const char* path) {
  return folder ? FolderHandle::OpenFollowing(folder.Descriptor(), path) : FolderHandle();
}

/// Where the desktops of free systems put deleted files of the user's own volume.
FolderHandle OpenDesktopTrash(const FolderHandle& home) {
  const char* const data = std::getenv("XDG_DATA_HOME");
  // Only an absolute path counts there.
  if (data == nullptr || *data != '/') return OpenIn(home, ".local/share/Trash/files");
  return OpenIn(FolderHandle::OpenFollowing(AT_FDCWD, data), "Trash/files");
}

}  // namespace

bool LFile::IsRecycleBinEmpty() {
  char path[kPathSize];
  GetUserFolder(path);
  const FolderHandle home = FolderHandle::OpenFollowing(AT_FDCWD, path);
  return IsEmpty(OpenIn(home, ".Trash")) && IsEmpty(OpenDesktopTrash(home));
}
