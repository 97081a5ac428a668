// SPDX-License-Identifier: MIT
#include "foundation/store/datfilenative.h"

#include <pthread.h>
#include <signal.h>
#include <sys/time.h>

#include <new>

namespace {

constexpr std::uint32_t kLongestIdle = 600000;  // ms: ten minutes

// Not destroyed with the other static objects: see gDatFileNativeSystem.
union Lasting {
  constexpr Lasting() : system() {}
  ~Lasting() {}  // not defaulted: that would be a deleted one
  LDatFileNativeSystem system;
};
constinit Lasting lasting;

sigset_t maskBeforeFork;  // guarded by the lock

// Nobody is in the middle of the cache, or holds a file's lock, while the process forks. The
// signals whose handlers exit wait until that is over: End would wait for the lock for ever.
void HoldForFork() {
  sigset_t exiting;
  sigset_t mask;
  sigemptyset(&exiting);
  sigaddset(&exiting, SIGINT);
  sigaddset(&exiting, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &exiting, &mask);
  gDatFileNativeSystem.Lock();
  maskBeforeFork = mask;
}

void ReleaseAfterFork() {
  const sigset_t mask = maskBeforeFork;
  gDatFileNativeSystem.Unlock();
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

// What a process does of its own accord with its dat files: it writes changes when it exits, but in
// a child those of the parent only if asked to, or both would write them, the later one over what
// others wrote meanwhile.
class ProcessHooks {
 public:
  ProcessHooks() {
    pthread_atfork(HoldForFork, ReleaseAfterFork, [] {
      gDatFileNativeSystem.BelongToParent();
      ReleaseAfterFork();
    });
  }
  ~ProcessHooks() { gDatFileNativeSystem.End(); }
  ProcessHooks(const ProcessHooks&) = delete;
  ProcessHooks& operator=(const ProcessHooks&) = delete;
};
const ProcessHooks processHooks;

}  // namespace

constinit LDatFileNativeSystem& gDatFileNativeSystem = lasting.system;

std::uint32_t LDatFileNativeSystem::Now() {
  timeval now = {};
  gettimeofday(&now, nullptr);
  return static_cast<std::uint32_t>(now.tv_sec) * 1000U +
         static_cast<std::uint32_t>(now.tv_usec) / 1000U;
}

void LDatFileNativeSystem::SetValue(const char* path, const char* section, const char* name,
                                    const char* value) {
  const std::lock_guard guard(mutex_);
  LDatFileNativeFile& file = FindOrAdd(path);
  file.SetValue(section, name, value);
  if (hasEnded_) file.SaveIfUnsaved();
}

void LDatFileNativeSystem::GetValue(const char* path, const char* section, const char* name,
                                    const char* defaultValue, char* out) {
  const std::lock_guard guard(mutex_);
  FindOrAdd(path).GetValue(section, name, defaultValue, out);
}

void LDatFileNativeSystem::Flush(const char* path) {
  const std::lock_guard guard(mutex_);
  if (LDatFileNativeFile* const file = Find(path)) file->SaveIfUnsaved();
}

void LDatFileNativeSystem::Flush() {
  const std::lock_guard guard(mutex_);
  const std::uint32_t now = Now();
  const auto isIdle = [now](const LDatFileNativeFile& file) {
    return file.IdleAt(now) >= kLongestIdle;
  };
  for (LDatFileNativeFile& file : files_) {
    if (isIdle(file)) file.SaveIfUnsaved();
  }
  // One that could not be written stays, for its changes are nowhere else.
  files_.DeleteIf(
      [&](const LDatFileNativeFile& file) { return isIdle(file) && !file.HasUnsavedChanges(); });
  for (LDatFileNativeFile& file : files_)
    file.SaveIfUnsaved();
}

void LDatFileNativeSystem::End() {
  const std::lock_guard guard(mutex_);
  hasEnded_ = true;
  for (LDatFileNativeFile& file : files_) {
    if (!file.HasUnsavedChangesOfOurs()) continue;
    try {
      file.Save();
    } catch (const std::bad_alloc&) {
      // Nobody is left to be told, and the other files may be smaller.
      continue;
    }
  }
  files_.Clear();
}

void LDatFileNativeSystem::BelongToParent() {
  for (LDatFileNativeFile& file : files_)
    file.BelongToParent();
}

LDatFileNativeFile* LDatFileNativeSystem::Find(const char* path) {
  for (LDatFileNativeFile& file : files_) {
    if (file.HasPath(path)) return &file;
  }
  return nullptr;
}

LDatFileNativeFile& LDatFileNativeSystem::FindOrAdd(const char* path) {
  if (LDatFileNativeFile* const file = Find(path)) return *file;
  files_.Prepend(new LDatFileNativeFile(path));
  return *files_.Head();
}
