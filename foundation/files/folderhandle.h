// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FOLDERHANDLE_H
#define ZORVEX_FOUNDATION_FILES_FOLDERHANDLE_H

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <utility>
#include <vector>

/// \file
/// Going through trees of folders by descriptors: each folder is opened by its name in the one
/// above, never by a path, so that nobody who may rename what is on the way can lead elsewhere, and
/// paths may be of any length.

constexpr bool IsDotOrDotDot(const char* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

/// Owns an open folder and the stream of its entries, or none. Costs a descriptor and the C
/// library's memory for the stream. One thread at a time.
class FolderHandle {
 public:
  FolderHandle() = default;
  FolderHandle(FolderHandle&& other) noexcept : stream_(std::exchange(other.stream_, nullptr)) {}
  FolderHandle& operator=(FolderHandle other) noexcept {
    std::swap(stream_, other.stream_);
    return *this;
  }
  ~FolderHandle() {
    if (stream_ != nullptr) closedir(stream_);
  }

  /// Opens a folder by its name in `parent`, or by a path (`parent` is AT_FDCWD then). Empty, with
  /// the reason in `errno`, for what is no folder; a link to one is none.
  static FolderHandle Open(int parent, const char* name) {
    return OpenWith(parent, name, O_NOFOLLOW);
  }
  /// The same, but a link counts as the folder that it leads to: for the path that a user named.
  static FolderHandle OpenFollowing(int parent, const char* name) {
    return OpenWith(parent, name, 0);
  }

  explicit operator bool() const { return stream_ != nullptr; }
  /// For openat, fstatat and their like; stays owned here.
  [[nodiscard]] int Descriptor() const { return dirfd(stream_); }

  /// The next entry that is neither "." nor "..", valid until the next call. Null at the end, with
  /// `errno` 0, and when the folder cannot be read on, with the reason in `errno`.
  const dirent* Next() {
    errno = 0;
    const dirent* entry = readdir(stream_);
    while (entry != nullptr && IsDotOrDotDot(entry->d_name)) {
      entry = readdir(stream_);
    }
    return entry;
  }
  /// Next begins again with the first entry.
  void Rewind() { rewinddir(stream_); }

 private:
  static FolderHandle OpenWith(int parent, const char* name, int flags) {
    FolderHandle folder;
    const int descriptor = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags);
    if (descriptor == -1) return folder;
    folder.stream_ = fdopendir(descriptor);
    if (folder.stream_ == nullptr) {
      const int error = errno;
      close(descriptor);
      errno = error;
    }
    return folder;
  }

  DIR* stream_ = nullptr;
};

/// Makes room for one more folder on the way down a tree. False without memory, `errno` is ENOMEM
/// then.
template <typename Level>
bool ReserveOneMore(std::vector<Level>& levels) {
  if (levels.size() < levels.capacity()) return true;
  try {
    levels.reserve(2 * levels.size() + 8);
    return true;
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
  }
}

enum class EntryKind {
  kUnknown,  ///< it cannot be told, `errno` has the reason; ENOENT: deleted meanwhile
  kFile,     ///< a regular one
  kFolder,
  kLink,   ///< a symbolic one, wherever it leads
  kOther,  ///< a pipe, a socket or a device: opening one may wait for ever
};

inline EntryKind KindOfMode(mode_t mode) {
  if (S_ISREG(mode)) return EntryKind::kFile;
  if (S_ISDIR(mode)) return EntryKind::kFolder;
  return S_ISLNK(mode) ? EntryKind::kLink : EntryKind::kOther;
}

/// What an entry of a folder is, without following it. Most file systems say so in the entry; the
/// others are asked.
inline EntryKind KindOf(int folder, const dirent& entry) {
  switch (entry.d_type) {
    case DT_REG:
      return EntryKind::kFile;
    case DT_DIR:
      return EntryKind::kFolder;
    case DT_LNK:
      return EntryKind::kLink;
    case DT_UNKNOWN:
      break;
    default:
      return EntryKind::kOther;
  }
  struct stat status = {};
  if (fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) return EntryKind::kUnknown;
  return KindOfMode(status.st_mode);
}

#endif  // ZORVEX_FOUNDATION_FILES_FOLDERHANDLE_H
