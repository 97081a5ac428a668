// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "foundation/files/file.h"
#include "foundation/files/folderhandle.h"
#include "foundation/files/pathtext.h"

namespace {

constexpr mode_t kAllAccess = 0777;

/// As deep as folders can be named in a path buffer: "/a/a/a". Each has its descriptor while what
/// is in it is gone through.
constexpr int kMaxDepth = kMaxPathLength / 2 + 1;

bool CreateFolder(char* path) {
  if (mkdir(path, kAllAccess) == 0) return true;
  if (errno != ENOENT) return false;
  char* const separator = std::strrchr(path, '/');
  if (separator == nullptr || separator == path) return false;
  *separator = '\0';
  CreateFolder(path);  // may be made by somebody else meanwhile
  *separator = '/';
  return mkdir(path, kAllAccess) == 0;
}

bool OpenToAll(int parent, const char* name, int depth);

bool OpenContentsToAll(FolderHandle& folder, int depth) {
  bool isDone = true;
  while (const dirent* const entry = folder.Next()) {
    isDone = OpenToAll(folder.Descriptor(), entry->d_name, depth + 1) && isDone;
  }
  return isDone;
}

/// By name in the folder above, never by a path: nobody who may rename what is on the way can lead
/// this elsewhere.
bool OpenToAll(int parent, const char* name, int depth) {
  struct stat status = {};
  if (fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT && depth > 0;  // deleted meanwhile
  }
  // What a link leads to is elsewhere, and it has no permissions of its own.
  if (S_ISLNK(status.st_mode)) return depth > 0;
  // Before the folder is opened: it may be one that its owner cannot read.
  const bool isChanged = fchmodat(parent, name, kAllAccess, AT_SYMLINK_NOFOLLOW) == 0;
  if (!S_ISDIR(status.st_mode)) return isChanged;
  if (depth == kMaxDepth) return false;
  FolderHandle folder = FolderHandle::Open(parent, name);
  return folder && OpenContentsToAll(folder, depth) && isChanged;
}

}  // namespace

bool LFile::CreateFolderTree(const char* path) {
  const std::string_view whole = FirstOf(path, kPathSize);
  if (whole.size() > kMaxPathLength) return false;
  char folder[kPathSize];
  CopyPath(folder, whole.substr(0, whole.find_last_not_of('/') + 1));
  return *folder != '\0' && CreateFolder(folder);
}

bool LFile::SetFolderSecurityAllAccess(const char* path) {
  return OpenToAll(AT_FDCWD, path, 0);
}
