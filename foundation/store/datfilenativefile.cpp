// SPDX-License-Identifier: MIT
// One cached dat file: setting, getting and loading.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "foundation/files/flocktimed.h"
#include "foundation/store/datfilelines.h"
#include "foundation/store/datfilenative.h"
#include "platform/uniquefd.h"

namespace {

constexpr unsigned int kLoadLockTimeout = 2000;  // ms

std::size_t CutLength(const char* text) {
  return strnlen(text, kDatFileLongestName);
}

// The text may be the buffer that it is copied to.
void CopyOut(char* out, const char* text) {
  const std::size_t length = CutLength(text);
  std::memmove(out, text, length);
  out[length] = 0;
}

}  // namespace

LDatFileNativeFile::LDatFileNativeFile(const char* path)
    : lastAccess_(LDatFileNativeSystem::Now()) {
  CopyOut(path_, path);
}

void LDatFileNativeFile::SetValue(const char* section, const char* name, const char* value) {
  lastAccess_ = LDatFileNativeSystem::Now();
  ReloadIfChanged();
  // Behind the loading, which clears the flag: what is set now is not saved by it.
  unsavedChanges_ = true;
  unsavedOfParent_ = false;
  LDatFileNativeSection* const found = FindSection(section, CutLength(section));
  if (!found) {
    SetInNewSection(section, name, value);
    return;
  }
  if (!name) {
    // Not written on purpose: deleting a section waits for the next write or flush.
    RemoveSection(found);
    return;
  }
  if (value) {
    found->Set(pool_, name, CutLength(name), value, CutLength(value));
  } else {
    found->Remove(pool_, name);
  }
  Save();
}

// The file is written before the section is in it, and the flag is clear then, so the first value
// of a new section reaches the disk with the next write of the file and not before. That order is
// deliberate, and so is that deleting an item makes its section.
void LDatFileNativeFile::SetInNewSection(const char* section, const char* name, const char* value) {
  if (!name) return;
  auto created = std::make_unique<LDatFileNativeSection>(section, CutLength(section));
  if (value) created->Set(pool_, name, CutLength(name), value, CutLength(value));
  index_.ReserveOne();
  Save();
  AppendSection(created.release());
}

void LDatFileNativeFile::GetValue(const char* section, const char* name, const char* defaultValue,
                                  char* out) {
  lastAccess_ = LDatFileNativeSystem::Now();
  ReloadIfChanged();
  LDatFileNativeSection* const found = FindSection(section, CutLength(section));
  const char* const value = found && name ? found->Find(name) : nullptr;
  CopyOut(out, value ? value : defaultValue);
}

void LDatFileNativeFile::ReloadIfChanged() {
  gDatFileNameHash.FollowLocale();
  isUnread_ = false;
  struct stat status = {};
  if (stat(path_, &status) != 0) return;
  // Not written either: a pipe that nobody reads would stop everybody, under the mutex.
  isUnread_ = !S_ISREG(status.st_mode);
  if (isUnread_) return;
  const auto size = static_cast<std::uint32_t>(status.st_size);
  if (status.st_mtime == modificationTime_ && size == size_) return;
  isUnread_ = true;
  const UniqueFd file(open(path_, O_RDONLY | O_CLOEXEC));
  if (!file) return;
  flocktimed(file.Get(), LOCK_SH | LOCK_NB, kLoadLockTimeout);
  if (!Load(LReadFileRef(file.Get()))) return;
  // The pair from before the lock: a write in between shows as one more change.
  modificationTime_ = status.st_mtime;
  size_ = size;
  isUnread_ = false;
}

// Nothing is removed: an item that another process deleted stays in this one on purpose.
bool LDatFileNativeFile::Load(LReadFileRef file) {
  gDatFileNameHash.FollowLocale();
  DatFileLines lines(file.Descriptor());
  LDatFileNativeSection* section = nullptr;
  while (lines.Next()) {
    char* const text = lines.Text();
    if (*text == '[') {
      char* const name = text + 1;
      const std::size_t length = std::strcspn(name, "]");
      name[length] = 0;
      section = FindOrAddSection(name, length);
      continue;
    }
    if (!section) continue;
    char* const equals = static_cast<char*>(std::memchr(text, '=', lines.Length()));
    if (!equals) continue;
    *equals = 0;
    const auto nameLength = static_cast<std::size_t>(equals - text);
    if (pool_.IsEmpty()) pool_.Grow(lines.EstimateRemaining());
    section->Set(pool_, text, std::min(nameLength, kDatFileLongestName), equals + 1,
                 std::min(lines.Length() - nameLength - 1, kDatFileLongestName));
  }
  if (lines.Failed()) return false;
  unsavedChanges_ = false;
  return true;
}

LDatFileNativeSection* LDatFileNativeFile::FindSection(const char* name, std::size_t length) {
  return index_.Find(sections_.Head(), name, gDatFileNameHash.Of(name, length));
}

LDatFileNativeSection* LDatFileNativeFile::FindOrAddSection(const char* name, std::size_t length) {
  length = std::min(length, kDatFileLongestName);
  if (LDatFileNativeSection* const found = FindSection(name, length)) return found;
  index_.ReserveOne();
  auto* const created = new LDatFileNativeSection(name, length);
  AppendSection(created);
  return created;
}

void LDatFileNativeFile::AppendSection(LDatFileNativeSection* section) {
  tail_.Append(section);
  index_.Add(section, gDatFileNameHash.Of(section->Name(), section->NameLength()));
}

void LDatFileNativeFile::RemoveSection(LDatFileNativeSection* section) {
  index_.Remove(section, gDatFileNameHash.Of(section->Name(), section->NameLength()));
  section->RemoveAll(pool_);
  sections_.Delete(section);
  tail_ = LList<LDatFileNativeSection>::Tail(sections_);
}
