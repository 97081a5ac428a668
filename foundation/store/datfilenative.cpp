// SPDX-License-Identifier: MIT
#include "foundation/store/datfilenative.h"

#include <pthread.h>
#include <sys/time.h>

#include <chrono>
#include <mutex>
#include <new>
#include <thread>

namespace {

constexpr std::uint32_t kLongestIdle = 600000;  // ms: ten minutes
// Others that hold locks of files are waited for a second each; more is a file that hangs.
constexpr std::chrono::seconds kLongestEnd{10};

// Not destroyed with the other static objects: see gDatFileNativeSystem.
union Lasting {
  constexpr Lasting() : system() {}
  ~Lasting() {}  // not defaulted: that would be a deleted one
  LDatFileNativeSystem system;
};
constinit Lasting lasting;

// What a process does of its own accord with its dat files: it writes changes when it exits, but in
// a child those of the parent only if asked to, or both would write them, the later one over what
// others wrote meanwhile. Nobody is in the middle of the cache, or holds a file's lock, while the
// process forks.
class ProcessHooks {
 public:
  ProcessHooks() {
    pthread_atfork([] { gDatFileNativeSystem.Lock(); }, [] { gDatFileNativeSystem.Unlock(); },
                   [] {
                     gDatFileNativeSystem.BelongToParent();
                     gDatFileNativeSystem.Unlock();
                   });
  }
  ~ProcessHooks() { gDatFileNativeSystem.End(); }
  ProcessHooks(const ProcessHooks&) = delete;
  ProcessHooks& operator=(const ProcessHooks&) = delete;
};
const ProcessHooks processHooks;

}  // namespace

constinit LDatFileNativeSystem& gDatFileNativeSystem = lasting.system;

class LDatFileNativeSystem::Guard {
 public:
  explicit Guard(LDatFileNativeSystem& system) : system_(system) { system_.Lock(); }
  /// For who has locked it.
  Guard(LDatFileNativeSystem& system, std::adopt_lock_t) : system_(system) {}
  ~Guard() { system_.Unlock(); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

 private:
  LDatFileNativeSystem& system_;
};

void LDatFileNativeSystem::Lock() {
  mutex_.lock();
  owner_.store(pthread_self(), std::memory_order_relaxed);
}

bool LDatFileNativeSystem::LockToEnd() {
  // The signal came to the owner, who does not go on. Only the thread itself writes its number
  // there.
  if (owner_.load(std::memory_order_relaxed) == pthread_self()) return false;
  const auto end = std::chrono::steady_clock::now() + kLongestEnd;
  while (!mutex_.try_lock()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  owner_.store(pthread_self(), std::memory_order_relaxed);
  return true;
}

void LDatFileNativeSystem::Unlock() {
  owner_.store(pthread_t{}, std::memory_order_relaxed);
  mutex_.unlock();
}

std::uint32_t LDatFileNativeSystem::Now() {
  timeval now = {};
  gettimeofday(&now, nullptr);
  return static_cast<std::uint32_t>(now.tv_sec) * 1000U +
         static_cast<std::uint32_t>(now.tv_usec) / 1000U;
}

void LDatFileNativeSystem::SetValue(const char* path, const char* section, const char* name,
                                    const char* value) {
  const Guard guard(*this);
  LDatFileNativeFile& file = FindOrAdd(path);
  file.SetValue(section, name, value);
  if (hasEnded_) file.SaveIfUnsaved();
}

void LDatFileNativeSystem::GetValue(const char* path, const char* section, const char* name,
                                    const char* defaultValue, char* out) {
  const Guard guard(*this);
  FindOrAdd(path).GetValue(section, name, defaultValue, out);
}

void LDatFileNativeSystem::Flush(const char* path) {
  const Guard guard(*this);
  if (LDatFileNativeFile* const file = Find(path)) file->SaveIfUnsaved();
}

void LDatFileNativeSystem::Flush() {
  const Guard guard(*this);
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
  if (!LockToEnd()) return;
  const Guard guard(*this, std::adopt_lock);
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
