// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_DATFILENATIVE_H
#define ZORVEX_FOUNDATION_STORE_DATFILENATIVE_H

#include <pthread.h>

#include <atomic>
#include <ctime>
#include <mutex>

#include "foundation/files/filereader.h"
#include "foundation/store/datfileitempool.h"
#include "foundation/store/datfilenames.h"
#include "foundation/store/list.h"

/// \file
/// The cache of dat files: LDatFileNativeSystem has a list of files, a file one of sections, a
/// section one of items, all in the order in which they came, but the files, of which the newest
/// comes first. The records begin with the fields that such a cache has always had; fields that
/// make it fast stand behind them.
///
/// Names and values are bytes, cut to 259; names are the same without regard to case and keep the
/// case in which they came first. No pointer is null unless it says so. Everything here happens
/// under the mutex of the system.
///
/// Memory that runs out throws std::bad_alloc; what was to be stored is then not stored, and all
/// else is as it was.

constexpr std::size_t kDatFileText = 260;

/// One "name=value".
struct LDatFileNativeItem {
  [[nodiscard]] const char* Name() const { return name_; }
  [[nodiscard]] std::size_t NameLength() const;
  /// An item is so large that the processor does not guess which part of the next one is wanted.
  void Prefetch() const {
    __builtin_prefetch(name_);
    __builtin_prefetch(value_);
  }

  LDatFileNativeItem* next_;
  char name_[kDatFileText];
  char value_[kDatFileText];
};

/// One "[name]" and what stands under it.
class LDatFileNativeSection {
 public:
  LDatFileNativeSection(const char* name, std::size_t length);
  LDatFileNativeSection(const LDatFileNativeSection&) = delete;
  LDatFileNativeSection& operator=(const LDatFileNativeSection&) = delete;

  [[nodiscard]] const char* Name() const { return name_; }
  [[nodiscard]] std::size_t NameLength() const;
  [[nodiscard]] const LDatFileNativeItem* Head() const { return items_; }

  /// The item's value, null when there is none.
  [[nodiscard]] const char* Find(const char* name);
  /// Sets an item, appends a new one. The lengths are those of the texts, up to 259.
  void Set(DatFileItemPool& pool, const char* name, std::size_t nameLength, const char* value,
           std::size_t valueLength);
  void Remove(DatFileItemPool& pool, const char* name);
  void RemoveAll(DatFileItemPool& pool);

 private:
  friend class LList<LDatFileNativeSection>;

  LDatFileNativeSection* next_ = nullptr;
  char name_[kDatFileText];
  LDatFileNativeItem* items_ = nullptr;

  LDatFileNativeItem** end_ = &items_;
  DatFileNameIndex<LDatFileNativeItem> index_;
};

/// One dat file, as this process knows it.
class LDatFileNativeFile {
 public:
  /// Nothing is read yet.
  explicit LDatFileNativeFile(const char* path);
  LDatFileNativeFile(const LDatFileNativeFile&) = delete;
  LDatFileNativeFile& operator=(const LDatFileNativeFile&) = delete;

  /// As LDatFileSetValue and LDatFileGetValue, whose pointers may be null where they say so.
  void SetValue(const char* section, const char* name, const char* value);
  void GetValue(const char* section, const char* name, const char* defaultValue, char* out);

  /// Loads the file if its modification time, in seconds, or its size is another one than last
  /// seen. A file that does not exist, is no regular one or cannot be read changes nothing.
  void ReloadIfChanged();

  /// Merges a file into the cache and clears the flag of unsaved changes. False, and the flag is
  /// left, when the file could not be read to its end.
  bool Load(LReadFileRef file);

  /// Writes the whole file and clears the flag of unsaved changes. The flag stays when the file
  /// cannot be opened, or took not all of it.
  void Save();
  void SaveIfUnsaved() {
    if (unsavedChanges_) Save();
  }

  [[nodiscard]] bool HasPath(const char* path) const { return IsSameDatFileName(path_, path); }
  [[nodiscard]] bool HasUnsavedChanges() const { return unsavedChanges_; }
  /// Milliseconds since the last access, modulo 2^32; whatever the clock was set to in between.
  [[nodiscard]] std::uint32_t IdleAt(std::uint32_t now) const { return now - lastAccess_; }
  void SetLastAccess(std::uint32_t time) { lastAccess_ = time; }

  /// After fork, in the child: the changes that are unsaved now are the parent's to write.
  void BelongToParent() { unsavedOfParent_ = unsavedChanges_; }
  [[nodiscard]] bool HasUnsavedChangesOfOurs() const {
    return unsavedChanges_ && !unsavedOfParent_;
  }

 private:
  friend class LList<LDatFileNativeFile>;

  LDatFileNativeSection* FindSection(const char* name, std::size_t length);
  LDatFileNativeSection* FindOrAddSection(const char* name, std::size_t length);
  void AppendSection(LDatFileNativeSection* section);
  void RemoveSection(LDatFileNativeSection* section);
  void SetInNewSection(const char* section, const char* name, const char* value);

  LDatFileNativeFile* next_ = nullptr;
  char path_[kDatFileText];
  std::uint32_t lastAccess_;
  bool unsavedChanges_ = false;
  std::time_t modificationTime_ = 0;
  std::uint32_t size_ = 0;
  LList<LDatFileNativeSection> sections_;

  bool unsavedOfParent_ = false;
  bool isUnread_ = false;
  LList<LDatFileNativeSection>::Tail tail_{sections_};
  DatFileNameIndex<LDatFileNativeSection> index_;
  DatFileItemPool pool_;
};

/// All dat files of the process.
class LDatFileNativeSystem {
 public:
  constexpr LDatFileNativeSystem() = default;
  ~LDatFileNativeSystem() { End(); }
  LDatFileNativeSystem(const LDatFileNativeSystem&) = delete;
  LDatFileNativeSystem& operator=(const LDatFileNativeSystem&) = delete;

  /// The functions of datfile.h.
  void SetValue(const char* path, const char* section, const char* name, const char* value);
  void GetValue(const char* path, const char* section, const char* name, const char* defaultValue,
                char* out);
  void Flush(const char* path);
  void Flush();

  /// Writes the files with unsaved changes and frees the cache. It can be used on; from then on no
  /// change waits for a later write. Does nothing when another thread is busy here for ten seconds,
  /// and when a signal's handler ends the process while the same thread is: it would wait for
  /// itself.
  void End();

  /// Around fork.
  void Lock();
  void Unlock();
  void BelongToParent();

  /// The cached file of that path, null if there is none.
  [[nodiscard]] LDatFileNativeFile* Find(const char* path);

  /// The wall clock in milliseconds, modulo 2^32.
  static std::uint32_t Now();

 private:
  LDatFileNativeFile& FindOrAdd(const char* path);

  class Guard;
  bool LockToEnd();

  std::mutex mutex_;
  std::atomic<pthread_t> owner_ = pthread_t{};  // who holds the mutex
  LList<LDatFileNativeFile> files_;

  bool hasEnded_ = false;
};

/// It ends (LDatFileNativeSystem::End) when the process exits or the library is unloaded, but the
/// object itself stays: destructors of static objects that run later, and threads that run on
/// meanwhile, still find it.
extern LDatFileNativeSystem& gDatFileNativeSystem;

#endif  // ZORVEX_FOUNDATION_STORE_DATFILENATIVE_H
