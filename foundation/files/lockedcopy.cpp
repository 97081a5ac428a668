// SPDX-License-Identifier: MIT
#include "foundation/files/lockedcopy.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cerrno>

#include "foundation/files/contentcopier.h"
#include "foundation/files/copystatus.h"
#include "foundation/files/flocktimed.h"

namespace {

constexpr unsigned int kLockTimeoutMs = 1000;
constexpr off_t kChunk = 32768;

/// Whether nobody else holds the lock. Where the file system knows no locks, nobody does.
bool Lock(int descriptor, int operation) {
  return flocktimed(descriptor, operation | LOCK_NB, kLockTimeoutMs) == 0 || errno != EWOULDBLOCK;
}

/// Looks first: merely opening a device may do something, and it must never be the source.
bool IsNewOrRegular(int folder, const char* name, int flags, const struct stat& source) {
  struct stat existing = {};
  const int following = (flags & O_NOFOLLOW) != 0 ? AT_SYMLINK_NOFOLLOW : 0;
  if (fstatat(folder, name, &existing, following) != 0) return errno == ENOENT;
  errno = S_ISDIR(existing.st_mode) ? EISDIR : EINVAL;
  return S_ISREG(existing.st_mode) && !IsSameFile(source, existing);
}

}  // namespace

UniqueFd OpenSource(int folder, const char* name, int flags, struct stat& status) {
  UniqueFd file = OpenRegularFile(folder, name, flags, status);
  if (!file || !Lock(file.Get(), LOCK_SH)) return {};
  // Again: whoever held the lock may have written.
  return fstat(file.Get(), &status) == 0 ? std::move(file) : UniqueFd();
}

UniqueFd OpenDestination(int folder, const char* name, int flags, mode_t mode,
                         const struct stat& source, struct stat& opened) {
  if (!IsNewOrRegular(folder, name, flags, source)) return {};
  UniqueFd file(
      openat(folder, name, O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags, mode));
  if (!file || fstat(file.Get(), &opened) != 0) return {};
  errno = EINVAL;
  // Before its lock is asked for, which the source itself would keep away.
  if (!S_ISREG(opened.st_mode) || IsSameFile(source, opened)) return {};
  if (!Lock(file.Get(), LOCK_EX) || ftruncate(file.Get(), 0) != 0) return {};
  return file;
}

CopyResult CopyContent(LProcessInterface& process, int from, int to, const struct stat& source) {
  ContentCopier copier(from, to, source);
  for (off_t copied = 0; copied < source.st_size;) {
    if (process.IsToStop()) return CopyResult::kStopped;
    const auto chunk = static_cast<std::size_t>(std::min(source.st_size - copied, kChunk));
    if (copier.Copy(chunk) != chunk) return CopyResult::kFailed;
    copied += static_cast<off_t>(chunk);
    process.SetProgress(static_cast<double>(copied) / static_cast<double>(source.st_size));
  }
  return copier.Finish() ? CopyResult::kDone : CopyResult::kFailed;
}
