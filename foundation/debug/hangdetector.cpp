// SPDX-License-Identifier: MIT
#include "foundation/debug/hangdetector.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "foundation/files/file.h"
#include "foundation/files/openlocked.h"
#include "foundation/files/pathtext.h"
#include "foundation/text/stringformat.h"
#include "platform/uniquefd.h"

namespace {

constexpr int kCreate = O_RDWR | O_CREAT | O_EXCL | O_TRUNC;
constexpr mode_t kMode = 0666;

LHangRecord Now() {
  timeval now = {};
  gettimeofday(&now, nullptr);
  const std::uint32_t milliseconds = static_cast<std::uint32_t>(now.tv_sec) * 1000U;
  return {now.tv_sec, std::int64_t{milliseconds} + now.tv_usec / 1000};
}

const char* UserName() {
  for (const char* const variable : {"LOGNAME", "USER"}) {
    const char* const name = std::getenv(variable);
    if (name != nullptr && *name != '\0') return name;
  }
  return "";
}

bool IsStillAt(const char* path, int descriptor) {
  struct stat opened = {};
  struct stat found = {};
  return fstat(descriptor, &opened) == 0 && stat(path, &found) == 0 &&
         opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
}

UniqueFd CreateWithRecord(const char* path, const LHangRecord& record) {
  UniqueFd file = OpenLocked(path, kCreate, kMode);
  // A disk that is full makes the record short and the lock no worse.
  if (file) [[maybe_unused]]
    const ssize_t written = write(file.Get(), &record, sizeof record);
  return file;
}

/// Makes the file where it is not there yet. It appears with its lock and its record: between
/// opening and locking it under its own name, another run would take it for a dead one's. A kill in
/// that moment leaves a small hidden file. In `kept` it is from before it appears, so that a signal
/// handler that exits meanwhile removes it.
void CreateLockFile(const char* folder, const char* path, const LHangRecord& record,
                    std::atomic<int>& kept) {
  char name[kPathSize];
  char draft[kPathSize];
  tplsnprintf(name, sizeof name, "._LZorvex_rl_%d_%lld", static_cast<int>(getpid()),
              static_cast<long long>(record.startTick));
  LFile::_MakeFilePath(draft, folder, name, "");
  UniqueFd file = CreateWithRecord(draft, record);
  const bool isDraftAnothers = !file && errno == EEXIST;
  kept = file.Get();
  const int linkError = file && link(draft, path) != 0 ? errno : 0;
  if (!isDraftAnothers) unlink(draft);
  if (file && linkError == 0) {
    file.Release();
    return;
  }
  kept = -1;
  // Where there are no hard links that moment has to be borne.
  if (isDraftAnothers || (file && linkError != EEXIST))
    kept = CreateWithRecord(path, record).Release();
}

/// What a dead run left is read and removed. False when there is none, or its run lives.
bool TakeLeftFile(const char* path, LHangRecord* previous) {
  const UniqueFd file(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file || flock(file.Get(), LOCK_SH | LOCK_NB) != 0) return false;
  // Its run may have come to its end, and removed it, since it was opened.
  if (!IsStillAt(path, file.Get())) return false;
  LHangRecord record;
  const ssize_t size = read(file.Get(), &record, sizeof record);
  if (size < 0) return false;  // a folder: no run left that
  if (size != ssize_t{sizeof record}) record = {};
  if (previous != nullptr) *previous = record;
  // Several runs may find it at once. One of them, by the lock, removes it: another would come
  // later and might remove what a new run has put in its place. Network file systems can refuse
  // that lock for a file opened to be read; there it is removed all the same.
  const bool isAnothers = flock(file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  if (!isAnothers && IsStillAt(path, file.Get())) unlink(path);
  return true;
}

}  // namespace

bool LHangDetector::InitAndTest(LHangRecord* previous) {
  const LHangRecord record = Now();
  char folder[kPathSize];
  char name[kPathSize];
  LFile::GetTempFolder(folder);
  tplsnprintf(name, sizeof name, "_LZorvex_rl_%s", UserName());
  // Closed and not removed, deliberately: a second call finds this process's own file.
  UniqueFd file(descriptor_.exchange(-1));
  file = UniqueFd();
  LFile::_MakeFilePath(path_, folder, name, "");
  owner_ = getpid();
  CreateLockFile(folder, path_, record, descriptor_);
  return descriptor_ == -1 && TakeLeftFile(path_, previous);
}

void LHangDetector::Destroy() {
  // More than one thread may exit at a time.
  const UniqueFd file(descriptor_.exchange(-1));
  // Removed before it is closed: in between, another run would take it for a dead one's.
  if (file && owner_ == getpid() && IsStillAt(path_, file.Get())) unlink(path_);
}
