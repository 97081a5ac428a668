// SPDX-License-Identifier: MIT
#include "foundation/files/lockfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "foundation/files/file.h"
#include "foundation/files/openlocked.h"

namespace {

constexpr const char* kExtension = ".lck";

// Not so when its holder deleted the file after we opened it: the lock that we then got is on a
// file that nobody else will find.
bool IsFileAt(int descriptor, const char* path) {
  struct stat opened = {};
  struct stat found = {};
  return fstat(descriptor, &opened) == 0 && stat(path, &found) == 0 &&
         opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
}

}  // namespace

bool LLockFile::Lock(const char* path) {
  // Each further try follows somebody's release; a file system whose numbers never match ends it.
  constexpr int kMostTries = 100;

  Unlock();
  LFile::_ApplyNewFileExtension(path_, path, kExtension);
  // A path so long that the extension did not fit would be the file itself, to be emptied here and
  // deleted by Unlock.
  if (!std::string_view(path_).ends_with(kExtension)) return true;
  for (int tries = 1;; ++tries) {
    UniqueFd file = OpenLocked(path_, O_RDWR | O_CREAT, 0777);
    // Everything but another holder is let through on purpose: see the header.
    if (!file) return errno != EWOULDBLOCK;
    if (tries < kMostTries && !IsFileAt(file.Get(), path_)) continue;
    // Not while it was opened, before it was known whose it is.
    while (ftruncate(file.Get(), 0) != 0 && errno == EINTR) {
    }
    descriptor_ = file.Release();
    return true;
  }
}

void LLockFile::Unlock() {
  if (descriptor_ == -1) return;
  // In this order: after the close the file may be the next holder's.
  unlink(path_);
  close(descriptor_);
  descriptor_ = -1;
}
