// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

#include "foundation/files/copyspecial.h"
#include "foundation/files/copystatus.h"
#include "foundation/files/file.h"
#include "foundation/files/filesizes.h"
#include "foundation/files/folderhandle.h"
#include "foundation/files/lockedcopy.h"
#include "foundation/files/pathtext.h"
#include "foundation/files/processcopy.h"

namespace {

constexpr mode_t kFolderOfOwner = 0700;
constexpr mode_t kFileOfOwner = 0600;
constexpr char kIsInside[] = "It cannot be copied into itself";

/// The folder itself or, while it is still to be made, the nearest one above it that there is.
bool StatNearestFolder(const char* path, struct stat& status) {
  char folder[kPathSize];
  CopyPath(folder, FirstOf(path, kMaxPathLength));
  while (stat(folder, &status) != 0) {
    const std::string_view whole(folder);
    const std::string_view name = whole.substr(0, whole.find_last_not_of('/') + 1);
    if (errno != ENOENT || name.empty() || name == ".") return false;
    const std::size_t separator = name.rfind('/');
    const bool isInCurrentFolder = separator == std::string_view::npos;
    CopyPath(folder, isInCurrentFolder ? "." : name.substr(0, std::max<std::size_t>(separator, 1)));
  }
  return true;
}

/// Counts what is to be copied, and finds out whether the copy would be a part of it.
struct CopyRules {
  LProcessInterface& process;
  const struct stat& nearest;  ///< of the destination
  bool isInside = false;
  bool isStopped = false;

  bool IsToGoOn() {
    isStopped = isStopped || process.IsToStop();
    return !isInside && !isStopped;
  }
  bool IsToEnter(const FolderHandle& folder) {
    struct stat status = {};
    isInside = fstat(folder.Descriptor(), &status) != 0 || IsSameFile(status, nearest);
    return !isInside;
  }
};

/// Opens a file of the copy. What is there and is no regular file, or one that nobody may write, is
/// deleted first.
UniqueFd OpenReplacing(int folder, const char* name, const struct stat& source,
                       struct stat& opened) {
  const auto open = [&] {
    return OpenDestination(folder, name, O_NOFOLLOW, kFileOfOwner, source, opened);
  };
  struct stat existing = {};
  if (fstatat(folder, name, &existing, AT_SYMLINK_NOFOLLOW) == 0 && !S_ISREG(existing.st_mode) &&
      unlinkat(folder, name, 0) != 0) {
    return {};
  }
  UniqueFd file = open();
  if (file || (errno != EACCES && errno != ETXTBSY)) return file;
  return unlinkat(folder, name, 0) == 0 ? open() : UniqueFd();
}

const char* ReasonOf(int error) {
  if (error == 0) return "It became shorter meanwhile";
  return error == EWOULDBLOCK ? "It is in use" : std::strerror(error);
}

class FolderCopier {
 public:
  FolderCopier(LProcessInterface& process, bool isWithSubFolders)
      : process_(process), isWithSubFolders_(isWithSubFolders) {}

  CopyResult Copy(const char* from, const char* to);

 private:
  struct Level {
    FolderHandle from;
    UniqueFd to;
    struct stat status;      ///< of `from`, before it was read
    std::size_t pathLength;  ///< of path_ when it is the folder's
  };

  CopyResult Count(FolderHandle& source, const struct stat& status, const struct stat& nearest);
  CopyResult CopyTree(Level root);
  CopyResult FindNext(const dirent*& entry);
  CopyResult CopyEntry(const dirent& entry);
  CopyResult EnterFolder(int from, const char* name, int to);
  void LeaveFolder();
  CopyResult CopyFile(int from, const char* name, int to);
  /// How much is done with `more` bytes, from 0 to 1.
  [[nodiscard]] double DoneWith(off_t more) const;
  CopyResult Fail() { return Fail(ReasonOf(errno)); }
  CopyResult Fail(const char* reason);
  /// What was deleted since its folder was read is nothing to copy any more.
  CopyResult FailUnlessGone() { return errno == ENOENT ? CopyResult::kDone : Fail(); }
  CopyResult ResultOf(bool isCopied) { return isCopied ? CopyResult::kDone : Fail(); }

  LProcessInterface& process_;
  bool isWithSubFolders_;
  PathText path_;  // of what is being copied, for messages; cut
  // From the root down. They are no calls of each other: trees may be deep and a thread's stack
  // small.
  std::vector<Level> levels_;
  struct stat destination_ = {};
  double bytes_ = 0;
  double copied_ = 0;
};

CopyResult FolderCopier::Fail(const char* reason) {
  char path[kPathSize];
  path_.CopyTo(path);
  process_.SetErrorF("Cannot copy \"%s\": %s", path, reason);
  return CopyResult::kFailed;
}

double FolderCopier::DoneWith(off_t more) const {
  // Files may have grown since they were counted.
  return bytes_ > 0 ? std::min((copied_ + static_cast<double>(more)) / bytes_, 1.0) : 1.0;
}

CopyResult FolderCopier::Count(FolderHandle& source, const struct stat& status,
                               const struct stat& nearest) {
  CopyRules rules = {process_, nearest};
  rules.isInside = IsSameFile(status, nearest);
  process_.SetProgressIndeterminateOn();
  bytes_ = static_cast<double>(SizeOfFiles(source, rules));
  process_.SetProgressIndeterminateOff();
  source.Rewind();
  if (rules.isInside) return Fail(kIsInside);
  return rules.isStopped ? CopyResult::kStopped : CopyResult::kDone;
}

CopyResult FolderCopier::Copy(const char* from, const char* to) {
  path_.Append(from);
  struct stat status = {}, nearest = {};
  FolderHandle source = FolderHandle::OpenFollowing(AT_FDCWD, from);
  if (!source || fstat(source.Descriptor(), &status) != 0 || !StatNearestFolder(to, nearest)) {
    return Fail();
  }
  const CopyResult counted = isWithSubFolders_ ? Count(source, status, nearest) : CopyResult::kDone;
  if (counted != CopyResult::kDone) return counted;
  const bool isNew = LFile::CreateFolderTree(to);
  UniqueFd copy(open(to, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!copy || fstat(copy.Get(), &destination_) != 0) return Fail();
  if (IsSameFile(status, destination_)) return Fail(kIsInside);
  if (!ReserveOneMore(levels_)) return Fail();
  if (isNew && isWithSubFolders_) fchmod(copy.Get(), kFolderOfOwner);
  const CopyResult result =
      CopyTree({std::move(source), std::move(copy), status, path_.Text().size()});
  if (result == CopyResult::kDone) process_.SetProgress(1);
  return result;
}

CopyResult FolderCopier::CopyTree(Level root) {
  levels_.push_back(std::move(root));
  CopyResult result = CopyResult::kDone;
  while (!levels_.empty()) {
    const dirent* entry = nullptr;
    if (result == CopyResult::kDone) result = FindNext(entry);
    if (entry != nullptr) {
      result = CopyEntry(*entry);
    } else {
      LeaveFolder();
    }
  }
  return result;
}

/// Null at the end of the current folder.
CopyResult FolderCopier::FindNext(const dirent*& entry) {
  path_.RemoveLast(path_.Text().size() - levels_.back().pathLength);
  if (process_.IsToStop()) return CopyResult::kStopped;
  entry = levels_.back().from.Next();
  return ResultOf(entry != nullptr || errno == 0);
}

CopyResult FolderCopier::CopyEntry(const dirent& entry) {
  path_.Append('/');
  path_.Append(entry.d_name);
  const int from = levels_.back().from.Descriptor();
  const int to = levels_.back().to.Get();
  switch (KindOf(from, entry)) {
    case EntryKind::kFile:
      return CopyFile(from, entry.d_name, to);
    case EntryKind::kFolder:
      return isWithSubFolders_ ? EnterFolder(from, entry.d_name, to) : CopyResult::kDone;
    case EntryKind::kLink:
      return ResultOf(CopyLink(from, entry.d_name, to));
    case EntryKind::kOther:
      return ResultOf(CopyPipe(from, entry.d_name, to));
    case EntryKind::kUnknown:
      break;
  }
  return FailUnlessGone();
}

CopyResult FolderCopier::EnterFolder(int from, const char* name, int to) {
  Level level = {FolderHandle::Open(from, name), {}, {}, path_.Text().size()};
  if (!level.from || fstat(level.from.Descriptor(), &level.status) != 0) return FailUnlessGone();
  // The copy itself was moved in here meanwhile: it would not end.
  if (IsSameFile(level.status, destination_)) return CopyResult::kDone;
  // First of all: what is made is to get its status, too.
  if (!ReserveOneMore(levels_)) return Fail();
  if (mkdirat(to, name, kFolderOfOwner) != 0 && errno != EEXIST) return Fail();
  level.to = UniqueFd(openat(to, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!level.to) return Fail();
  levels_.push_back(std::move(level));
  return CopyResult::kDone;
}

void FolderCopier::LeaveFolder() {
  const Level& level = levels_.back();
  if (isWithSubFolders_) CarryStatus(level.from.Descriptor(), level.to.Get(), level.status);
  levels_.pop_back();
}

CopyResult FolderCopier::CopyFile(int from, const char* name, int to) {
  struct stat status = {}, opened = {};
  const UniqueFd source = OpenSource(from, name, O_NOFOLLOW, status);
  if (!source) return FailUnlessGone();
  const double start = DoneWith(0);
  LProcessInterfaceSubProcess part(process_, start, DoneWith(status.st_size) - start);
  part.SetStatus("Copy File", 0);
  UniqueFd copy = OpenReplacing(to, name, status, opened);
  if (!copy) return Fail();
  CopyResult result = CopyContent(part, source.Get(), copy.Get(), status);
  if (result == CopyResult::kDone) {
    CarryStatus(source.Get(), copy.Get(), status);
    if (!CloseWritten(std::move(copy))) result = CopyResult::kFailed;
  }
  if (result != CopyResult::kDone) DeleteUnfinished(to, name, opened);
  copied_ += static_cast<double>(status.st_size);
  return result == CopyResult::kFailed ? Fail() : result;
}

}  // namespace

int Process(LProcessInterface& process, const LProcessCopyFolder& copy) {
  process.SetStatus("Copy Folder", 0);
  const CopyResult result = FolderCopier(process, true).Copy(copy.source, copy.destination);
  return result == CopyResult::kDone ? 0 : 2;
}

bool LFile::CopyFolderFiles(const char* from, const char* to) {
  LProcessInterfaceVoid process;
  return FolderCopier(process, false).Copy(from, to) == CopyResult::kDone;
}
