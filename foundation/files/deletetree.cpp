// SPDX-License-Identifier: MIT
#include "foundation/files/deletetree.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <string_view>
#include <thread>

#include "foundation/files/file.h"
#include "foundation/files/folderdescent.h"
#include "foundation/threads/signalobject.h"
#include "platform/fileflags.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Somebody else may go on creating files in a folder: then it stays.
constexpr int kMaxPasses = 8;

constexpr milliseconds kPause(10);

enum class Flags { kKeep, kClear };

enum class Result {
  kDeleted,
  kMissing,  ///< there was none
  kRefused,  ///< never to be deleted, or no folder
  kFailed,
};

/// Deletes one tree. Files go at once while their folder is read; only the names of the folders in
/// it are kept.
class TreeDeletion {
 public:
  explicit TreeDeletion(Flags flags) : flags_(flags) {}

  Result Delete(const std::string& path);

 private:
  struct Level {
    std::size_t firstFolder;  ///< its first one in folders_
    int pass;
    bool isBlocked;  ///< something in it cannot be deleted: no use in going through it again
  };

  void BeginFolder(int pass);
  void DeleteFiles();
  bool DeleteFile(const dirent& entry);
  void DeleteNextFolder();
  void EndFolder();
  void RemoveFolder(const char* name, const Level& done);
  Result DeleteAll(const char* path);
  int Remove(int folder, const char* name, int flags) const;

  Flags flags_;
  FolderDescent descent_;
  std::vector<Level> levels_;         // as many as the descent has
  std::vector<std::string> folders_;  // those still to be deleted, of all levels
};

/// Whether to go through a folder once more that could not be removed: something was created in it
/// meanwhile, or the file system passes over entries while others are deleted.
bool IsToTryAgain(int error, int pass, bool isBlocked) {
  return (error == ENOTEMPTY || error == EEXIST) && pass < kMaxPasses && !isBlocked;
}

Result TreeDeletion::Delete(const std::string& path) {
  const char* const name = path.c_str();
  switch (descent_.EnterRoot(name)) {
    case FolderDescent::Entry::kDone:
      return DeleteAll(name);
    case FolderDescent::Entry::kClosed:
      return Remove(AT_FDCWD, name, AT_REMOVEDIR) == 0 ? Result::kDeleted : Result::kFailed;
    case FolderDescent::Entry::kNoFolder:
      break;
  }
  struct stat status = {};
  if (lstat(name, &status) != 0) return Result::kMissing;
  if (!S_ISLNK(status.st_mode) || !LFile::TestFolderExists(name)) return Result::kRefused;
  return unlink(name) == 0 ? Result::kDeleted : Result::kFailed;
}

Result TreeDeletion::DeleteAll(const char* path) {
  BeginFolder(1);
  while (true) {
    const Level& level = levels_.back();
    if (folders_.size() > level.firstFolder) {
      DeleteNextFolder();
    } else if (levels_.size() > 1) {
      EndFolder();
    } else {
      const int error = Remove(AT_FDCWD, path, AT_REMOVEDIR);
      // Removed by somebody else at the same time is as good.
      if (error == 0 || error == ENOENT) return Result::kDeleted;
      if (!IsToTryAgain(error, level.pass, level.isBlocked)) return Result::kFailed;
      ++levels_.back().pass;
      descent_.Current().Rewind();
      DeleteFiles();
    }
  }
}

void TreeDeletion::BeginFolder(int pass) {
  levels_.push_back({folders_.size(), pass, false});
  DeleteFiles();
}

void TreeDeletion::DeleteFiles() {
  while (const dirent* const entry = descent_.Current().Next()) {
    if (KindOf(descent_.Descriptor(), *entry) == EntryKind::kFolder || !DeleteFile(*entry)) {
      folders_.emplace_back(entry->d_name);
    }
  }
}

/// False when it is a folder by now.
bool TreeDeletion::DeleteFile(const dirent& entry) {
  const int error = Remove(descent_.Descriptor(), entry.d_name, 0);
  if (error == EISDIR) return false;
  if (error != 0 && error != ENOENT) levels_.back().isBlocked = true;
  return true;
}

void TreeDeletion::DeleteNextFolder() {
  const std::string name = std::move(folders_.back());
  folders_.pop_back();
  if (descent_.Enter(name.c_str()) == FolderDescent::Entry::kDone) {
    BeginFolder(1);
  } else {
    RemoveFolder(name.c_str(), {0, 1, true});
  }
}

void TreeDeletion::EndFolder() {
  const std::string name = descent_.Name();
  const Level done = levels_.back();
  descent_.Leave();
  levels_.pop_back();
  if (levels_.size() == descent_.Depth()) {
    RemoveFolder(name.c_str(), done);
    return;
  }
  // Folders on the way up stand elsewhere by now, with what is left in them.
  folders_.resize(levels_[descent_.Depth()].firstFolder);
  levels_.resize(descent_.Depth());
}

void TreeDeletion::RemoveFolder(const char* name, const Level& done) {
  const int error = Remove(descent_.Descriptor(), name, AT_REMOVEDIR);
  if (error == 0 || error == ENOENT) return;
  if (IsToTryAgain(error, done.pass, done.isBlocked) &&
      descent_.Enter(name) == FolderDescent::Entry::kDone) {
    BeginFolder(done.pass + 1);
  } else {
    levels_.back().isBlocked = true;
  }
}

/// 0, or the reason of the failure.
int TreeDeletion::Remove(int folder, const char* name, int flags) const {
  if (unlinkat(folder, name, flags) == 0) return 0;
  const int error = errno;
  if (error != EPERM || flags_ == Flags::kKeep) return error;
  // Those of the folder around it keep it as well. What is around the tree stays as it is.
  const bool isFolderCleared = folder != AT_FDCWD && ClearFileFlags(folder, ".");
  if (!ClearFileFlags(folder, name) && !isFolderCleared) return error;
  return unlinkat(folder, name, flags) == 0 ? 0 : errno;
}

Result DeleteTree(const char* path, Flags flags) {
  try {
    const std::string folder = RemovableFolder(path);
    return folder.empty() ? Result::kRefused : TreeDeletion(flags).Delete(folder);
  } catch (const std::bad_alloc&) {
    return Result::kFailed;
  }
}

bool DeleteFilesAndFolder(const char* path) {
  FolderDescent descent;
  switch (descent.EnterRoot(path)) {
    case FolderDescent::Entry::kNoFolder:
      return false;
    case FolderDescent::Entry::kClosed:
      break;
    case FolderDescent::Entry::kDone:
      while (const dirent* const entry = descent.Current().Next()) {
        const bool isFolder = KindOf(descent.Descriptor(), *entry) == EntryKind::kFolder;
        if (!isFolder) unlinkat(descent.Descriptor(), entry->d_name, 0);
      }
  }
  return rmdir(path) == 0;
}

}  // namespace

std::string RemovableFolder(const char* path) {
  std::string_view folder = path;
  folder = folder.substr(0, folder.find_last_not_of('/') + 1);
  const std::string_view name = folder.substr(folder.rfind('/') + 1);
  return std::string(name == "." || name == ".." ? std::string_view() : folder);
}

bool LFile::DeleteFolderTree(const char* path) {
  return DeleteTree(path, Flags::kKeep) == Result::kDeleted;
}

bool LFile::DeleteFolderTreeAlways(const char* path) {
  return DeleteTree(path, Flags::kClear) == Result::kDeleted;
}

bool LFile::DeleteFolderTree(const char* path, unsigned int timeoutMs) {
  const auto start = steady_clock::now();
  Result result = DeleteTree(path, Flags::kKeep);
  if (result == Result::kMissing) return false;
  while (result == Result::kFailed) {
    steady_clock::duration pause = kPause;
    if (timeoutMs != LSignalWaitForever) {
      pause = std::min(pause, start + milliseconds(timeoutMs) - steady_clock::now());
    }
    if (pause <= pause.zero()) return false;
    std::this_thread::sleep_for(pause);
    result = DeleteTree(path, Flags::kKeep);
  }
  return result != Result::kRefused;
}

bool LFile::DeleteFolderAndFiles(const char* path) {
  try {
    return DeleteFilesAndFolder(RemovableFolder(path).c_str());
  } catch (const std::bad_alloc&) {
    return false;
  }
}
