// SPDX-License-Identifier: MIT
#include "foundation/files/folderiterator.h"

#include <sys/stat.h>

#include <cstring>
#include <string_view>

#include "foundation/files/folderhandle.h"
#include "foundation/files/pathtext.h"
#include "foundation/files/wildcard.h"

namespace {

/// What archives of other systems leave behind begins with it.
constexpr std::string_view kArchiveRemains = "__MACOSX";

bool IsRegularFile(const char* path) {
  struct stat status = {};
  return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

/// False for a name that the record has no room for, which few file systems have.
bool CopyEntry(dirent& dest, const dirent& entry) {
  const std::size_t length = std::strlen(entry.d_name);
  if (length >= sizeof dest.d_name) return false;
  std::memcpy(&dest, &entry, offsetof(dirent, d_name));
  std::memcpy(dest.d_name, entry.d_name, length + 1);
  return true;
}

}  // namespace

LFile::FolderIterator::~FolderIterator() {
  Close();
}

void LFile::FolderIterator::Close() {
  if (stream_ != nullptr) closedir(stream_);
  stream_ = nullptr;
  entry_.d_name[0] = '\0';
}

bool LFile::FolderIterator::_Matches(const char* name) const {
  if (name[0] == '.') return false;
  if (std::strncmp(name, kArchiveRemains.data(), kArchiveRemains.size()) == 0) return false;
  return IsMatchAnyCase(pattern_, name);
}

bool LFile::FolderIterator::OpenStream(const char* path, const char* folder, const char* pattern) {
  Close();
  stream_ = opendir(path);
  if (stream_ == nullptr) return false;
  // What was kept before may be given again.
  CopyPath(folder_, FirstOf(folder, kMaxPathLength));
  CopyPath(pattern_, FirstOf(pattern, kMaxPathLength));
  return Next();
}

bool LFile::FolderIterator::Open(const char* folder, const char* pattern) {
  return OpenStream(folder, folder, pattern);
}

bool LFile::FolderIterator::Open(const char* path) {
  if (!IsRegularFile(path)) return Open(path, "*");
  char folder[kPathSize] = "";
  char name[kPathSize] = "";
  if (FirstOf(path, kPathSize).size() <= kMaxPathLength) {
    _GetFolderFromPath(folder, path);
    _GetFileFromPath(name, path);
  }
  if (*name == '\0') {
    Close();
    return false;
  }
  // A name alone is one in the current folder.
  return OpenStream(*folder == '\0' ? "." : folder, folder, name);
}

bool LFile::FolderIterator::Next() {
  if (stream_ == nullptr) return false;
  while (const dirent* const entry = readdir(stream_)) {
    if (_Matches(entry->d_name) && CopyEntry(entry_, *entry)) return true;
  }
  Close();
  return false;
}

bool LFile::FolderIterator::GetFilePath(char* dest) const {
  *dest = '\0';
  PathText path;
  path.AppendFolder(folder_);
  const std::string_view name = entry_.d_name;
  // A folder that was cut leaves no room for a name.
  if (name.empty() || std::strlen(folder_) == kMaxPathLength || path.Room() < name.size()) {
    return false;
  }
  path.Append(name);
  path.CopyTo(dest);
  return true;
}

bool LFile::FolderIterator::IsFolder() const {
  return stream_ != nullptr && KindOf(dirfd(stream_), entry_) == EntryKind::kFolder;
}

int LFile::FolderIterator::FolderDescriptor() const {
  return stream_ == nullptr ? -1 : dirfd(stream_);
}

LFile::FolderIteratorAllFiles::~FolderIteratorAllFiles() = default;

bool LFile::FolderIteratorAllFiles::_Matches(const char* /*name*/) const {
  return true;
}
