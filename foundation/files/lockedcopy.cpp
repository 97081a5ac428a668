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

/// Somebody may go on replacing a file, and there are file systems that number files anew.
constexpr int kMaxOpenings = 8;

/// Whether nobody else holds the lock. Where the file system knows no locks, nobody does.
bool Lock(int descriptor, int operation) {
  return flocktimed(descriptor, operation | LOCK_NB, kLockTimeoutMs) == 0 || errno != EWOULDBLOCK;
}

int FollowingAsWith(int flags) {
  return (flags & O_NOFOLLOW) != 0 ? AT_SYMLINK_NOFOLLOW : 0;
}

/// Whether a file still is what its name leads to. Who held its lock may have deleted it: a copy
/// that was stopped is deleted.
bool IsNamed(int folder, const char* name, int flags, const struct stat& file) {
  struct stat named = {};
  return fstatat(folder, name, &named, FollowingAsWith(flags)) == 0 && IsSameFile(file, named);
}

/// Looks first: merely opening a device may do something, and it must never be the source.
bool IsNewOrRegular(int folder, const char* name, int flags, const struct stat& source) {
  struct stat existing = {};
  if (fstatat(folder, name, &existing, FollowingAsWith(flags)) != 0) return errno == ENOENT;
  errno = S_ISDIR(existing.st_mode) ? EISDIR : EINVAL;
  return S_ISREG(existing.st_mode) && !IsSameFile(source, existing);
}

/// Of a destination: as it was, but locked.
UniqueFd OpenAndLock(int folder, const char* name, int flags, mode_t mode,
                     const struct stat& source, struct stat& opened) {
  if (!IsNewOrRegular(folder, name, flags, source)) return {};
  UniqueFd file(
      openat(folder, name, O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags, mode));
  if (!file || fstat(file.Get(), &opened) != 0) return {};
  errno = EINVAL;
  // Before its lock is asked for, which the source itself would keep away.
  if (!S_ISREG(opened.st_mode) || IsSameFile(source, opened)) return {};
  return Lock(file.Get(), LOCK_EX) ? std::move(file) : UniqueFd();
}

}  // namespace

UniqueFd OpenSource(int folder, const char* name, int flags, struct stat& status) {
  for (int opening = 1;; ++opening) {
    UniqueFd file = OpenRegularFile(folder, name, flags, status);
    if (!file || !Lock(file.Get(), LOCK_SH)) return {};
    // Again: whoever held the lock may have written.
    if (fstat(file.Get(), &status) != 0) return {};
    if (opening == kMaxOpenings || IsNamed(folder, name, flags, status)) return file;
  }
}

UniqueFd OpenDestination(int folder, const char* name, int flags, mode_t mode,
                         const struct stat& source, struct stat& opened) {
  for (int opening = 1;; ++opening) {
    UniqueFd file = OpenAndLock(folder, name, flags, mode, source, opened);
    if (!file) return {};
    if (opening != kMaxOpenings && !IsNamed(folder, name, flags, opened)) continue;
    return ftruncate(file.Get(), 0) == 0 ? std::move(file) : UniqueFd();
  }
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
