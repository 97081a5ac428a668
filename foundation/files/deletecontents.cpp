// SPDX-License-Identifier: MIT
#include <ctime>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "foundation/files/deletetree.h"
#include "foundation/files/file.h"
#include "foundation/files/folderdescent.h"
#include "foundation/threads/processinterface.h"
#include "platform/fileflags.h"

namespace {

constexpr int kDone = 0;
constexpr int kStopped = 1;
constexpr int kBadFolder = 2;

/// The entries of a folder as they were when it was entered: what is created later is not touched,
/// and the number of them stands for the progress.
class EntryList {
 public:
  struct Item {
    bool isFolder;
    const char* name;  ///< valid as long as the list
  };

  void Read(FolderHandle& folder) {
    while (const dirent* const entry = folder.Next()) {
      const bool isFolder = KindOf(folder.Descriptor(), *entry) == EntryKind::kFolder;
      text_.append(1, isFolder ? kFolderMark : kFileMark).append(entry->d_name).append(1, '\0');
      ++count_;
    }
  }
  [[nodiscard]] std::size_t Count() const { return count_; }
  [[nodiscard]] bool IsAtEnd() const { return next_ == text_.size(); }
  Item TakeNext() {
    const char* const item = text_.data() + next_;
    next_ = text_.find('\0', next_) + 1;
    return {*item == kFolderMark, item + 1};
  }

 private:
  static constexpr char kFolderMark = 'd';
  static constexpr char kFileMark = 'f';

  std::string text_;  // a mark, the name and a NUL each
  std::size_t next_ = 0;
  std::size_t count_ = 0;
};

/// Deletes what is in a folder, file by file. Each folder is an operation of its own, a part of the
/// one above, just as if each had its LProcessInterfaceSubProcess; but those would call each other
/// as deep as the folders are, and a thread's stack may be small.
class ContentsDeletion {
 public:
  ContentsDeletion(LProcessInterface& process, long ageSeconds)
      : process_(process), ageSeconds_(ageSeconds) {}

  int Run(const char* path);
  /// Whether Run met a folder that it could not open.
  [[nodiscard]] bool IsClosed() const { return isClosed_; }

 private:
  struct Level {
    EntryList entries;
    long long cutOff;
    double progress;  ///< of the level's own 0 to 1; where the part begins that is being done
    double share;     ///< of one entry
  };

  bool Announce(std::size_t line);
  void BeginFolder();
  int DeleteAll();
  bool DeleteEntry(const EntryList::Item& entry);
  void EndFolder();
  void DeleteFile(const char* name);
  [[nodiscard]] bool IsOldEnough(const char* name) const;
  void EndEntry();

  LProcessInterface& process_;
  long ageSeconds_;
  bool isClosed_ = false;
  FolderDescent descent_;
  std::vector<Level> levels_;  // as many as the descent has
};

int ContentsDeletion::Run(const char* path) {
  const FolderDescent::Entry entry = descent_.EnterRoot(path);
  if (entry == FolderDescent::Entry::kNoFolder) return kBadFolder;
  if (!Announce(0)) return kStopped;
  isClosed_ = entry == FolderDescent::Entry::kClosed;
  if (isClosed_) return kBadFolder;
  BeginFolder();
  return DeleteAll();
}

int ContentsDeletion::DeleteAll() {
  while (true) {
    EntryList& entries = levels_.back().entries;
    if (!entries.IsAtEnd()) {
      if (process_.IsToStop() || !DeleteEntry(entries.TakeNext())) return kStopped;
    } else if (levels_.size() > 1) {
      EndFolder();
    } else {
      return kDone;
    }
  }
}

/// False when a stop was requested.
bool ContentsDeletion::Announce(std::size_t line) {
  process_.SetStatus("Please wait...", static_cast<int>(line));
  return !process_.IsToStop();
}

/// The cut-off, saturated: an age may be anything.
long long CutOff(long ageSeconds) {
  long long cutOff = 0;
  const long long now = std::time(nullptr);
  if (!__builtin_sub_overflow(now, ageSeconds, &cutOff)) return cutOff;
  return std::numeric_limits<long long>::max();  // the age is negative: now is not
}

void ContentsDeletion::BeginFolder() {
  Level& level = levels_.emplace_back();
  level.entries.Read(descent_.Current());
  level.cutOff = CutOff(ageSeconds_);
  level.progress = 0.0;
  level.share = 1.0 / static_cast<double>(level.entries.Count());
}

/// False when a stop was requested.
bool ContentsDeletion::DeleteEntry(const EntryList::Item& entry) {
  if (!entry.isFolder) {
    DeleteFile(entry.name);
    EndEntry();
    return true;
  }
  const std::size_t line = levels_.size();
  switch (descent_.Enter(entry.name)) {
    case FolderDescent::Entry::kDone:
      if (!Announce(line)) return false;
      BeginFolder();
      return true;
    case FolderDescent::Entry::kClosed:
      if (!Announce(line)) return false;
      unlinkat(descent_.Descriptor(), entry.name, AT_REMOVEDIR);
      break;
    case FolderDescent::Entry::kNoFolder:
      break;
  }
  EndEntry();
  return true;
}

void ContentsDeletion::EndFolder() {
  const std::string name = descent_.Name();
  descent_.Leave();
  levels_.pop_back();
  if (levels_.size() == descent_.Depth()) {
    // Fails when younger files stayed: then the folder stays, and so do those above.
    unlinkat(descent_.Descriptor(), name.c_str(), AT_REMOVEDIR);
  } else {
    levels_.resize(descent_.Depth());  // the folders in between stand elsewhere by now
  }
  EndEntry();
}

void ContentsDeletion::DeleteFile(const char* name) {
  if (!IsOldEnough(name)) return;
  const int folder = descent_.Descriptor();
  if (unlinkat(folder, name, 0) != 0 && errno == EPERM && ClearFileFlags(folder, name)) {
    unlinkat(folder, name, 0);
  }
}

/// By the last modification on purpose, where DeleteOldFiles goes by the creation.
bool ContentsDeletion::IsOldEnough(const char* name) const {
  if (ageSeconds_ == 0) return true;  // also those whose time is still to come
  struct stat status = {};
  return fstatat(descent_.Descriptor(), name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         status.st_mtime <= levels_.back().cutOff;
}

/// An entry of the current folder is done, deleted or not.
void ContentsDeletion::EndEntry() {
  levels_.back().progress += levels_.back().share;
  double fraction = levels_.back().progress;
  for (auto above = levels_.rbegin() + 1; above != levels_.rend(); ++above) {
    fraction = fraction * above->share + above->progress;
  }
  process_.SetProgress(fraction);
}

}  // namespace

int LFile::DeleteFolderContents(LProcessInterface& process, const char* folder, long ageSeconds) {
  try {
    return ContentsDeletion(process, ageSeconds).Run(folder);
  } catch (const std::bad_alloc&) {
    return kBadFolder;
  }
}

int LFile::DeleteFolderTree(LProcessInterface& process, const char* path, long ageSeconds) {
  try {
    const std::string folder = RemovableFolder(path);
    ContentsDeletion contents(process, ageSeconds);
    const int result = contents.Run(folder.c_str());
    // A folder that cannot be opened may be an empty one.
    if (result != kDone && !contents.IsClosed()) return result;
    return rmdir(folder.c_str()) == 0 ? kDone : kBadFolder;
  } catch (const std::bad_alloc&) {
    return kBadFolder;
  }
}
