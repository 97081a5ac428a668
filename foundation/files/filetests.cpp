// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "foundation/files/file.h"
#include "foundation/files/openlocked.h"

namespace {

// What Linux keeps for each file in place of the flags that other systems give with stat.
bool HasImmutableFlag(const char* path) {
#if defined(__linux__)
  struct statx status = {};
  return statx(AT_FDCWD, path, 0, 0, &status) == 0 &&
         (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
#else
  struct stat status = {};
  return stat(path, &status) == 0 && (status.st_flags & (UF_IMMUTABLE | SF_IMMUTABLE)) != 0;
#endif
}

bool IsLockedBySomebody(const char* path) {
  const UniqueFd file = OpenLocked(path, O_RDONLY, 0);
  return !file && errno == EWOULDBLOCK;
}

}  // namespace

bool LFile::TestFileExists(const char* path) {
  struct stat status = {};
  return stat(path, &status) == 0 && !S_ISDIR(status.st_mode);
}

bool LFile::TestFolderExists(const char* path) {
  struct stat status = {};
  return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

bool LFile::TestFileLocked(const char* path) {
  return HasImmutableFlag(path);
}

// The same test for both on purpose: a lock that shuts out readers shuts out writers, too.
bool LFile::TestFileShareReadBlocked(const char* path) {
  return IsLockedBySomebody(path);
}

bool LFile::TestFileShareWriteBlocked(const char* path) {
  return IsLockedBySomebody(path);
}

bool LFile::IsErrorSharingViolation() {
  return errno == EACCES || errno == EWOULDBLOCK;
}

bool LFile::IsErrorAlreadyExists() {
  return errno == EEXIST;
}

bool LFile::IsErrorPermissionDenied() {
  return errno == EACCES;
}

bool LFile::IsErrorFileNotFound() {
  return errno == ENOENT;
}
