// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "foundation/files/contentcopier.h"
#include "foundation/files/copystatus.h"
#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"
#include "foundation/system/shell.h"

namespace {

/// A path as it stands in the double quotes of a shell command. There the shell still acts on `$`
/// and `\`, which the escaped text leaves as they are, and a program takes what begins with `-` for
/// an option: such paths have none.
class ShellPath {
 public:
  explicit ShellPath(const char* path) {
    LFile::EscapeFilePath(path, text_);
    const std::string_view whole = FirstOf(path, kPathSize);
    std::size_t escapedLength = whole.size();
    for (const char c : whole)
      escapedLength += c == '`' || c == '"' ? 1 : 0;
    isPossible_ = !whole.empty() && whole[0] != '-' && escapedLength <= kMaxPathLength &&
                  whole.find_first_of("$\\") == std::string_view::npos;
  }

  [[nodiscard]] bool IsPossible() const { return isPossible_; }
  [[nodiscard]] const char* Text() const { return text_; }

 private:
  char text_[kPathSize];
  bool isPossible_;
};

bool CopyLink(const char* from, const char* to) {
  struct stat target = {}, replaced = {};
  // The link would take the place of what it leads to.
  if (stat(from, &target) == 0 && lstat(to, &replaced) == 0 && IsSameFile(target, replaced) &&
      !S_ISDIR(replaced.st_mode)) {
    return false;
  }
  const ShellPath shellFrom(from), shellTo(to);
  if (!shellFrom.IsPossible() || !shellTo.IsPossible()) return false;
  char command[2 * kPathSize + 16];
  std::snprintf(command, sizeof command, "cp -R \"%s\" \"%s\"", shellFrom.Text(), shellTo.Text());
  return LRunShellCommand(command);
}

/// Deletes what is there, unless that is the source itself or a folder.
bool MakeRoom(const char* path, const struct stat& source) {
  struct stat existing = {};
  if (lstat(path, &existing) != 0) return errno == ENOENT;
  return !IsSameFile(source, existing) && !S_ISDIR(existing.st_mode) && unlink(path) == 0;
}

}  // namespace

bool LFile::CopyFile(const char* from, const char* to) {
  struct stat status = {};
  if (lstat(from, &status) != 0) return false;
  if (S_ISLNK(status.st_mode)) return CopyLink(from, to);
  const UniqueFd source = OpenRegularFile(AT_FDCWD, from, O_NOFOLLOW, status);
  if (!source || !MakeRoom(to, status)) return false;
  // Nobody else sees the content before the copy has the source's permissions.
  UniqueFd copy(open(to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
  struct stat created = {};
  if (!copy || fstat(copy.Get(), &created) != 0) return false;
  const bool isCopied = ContentCopier(source.Get(), copy.Get(), status).CopyAll();
  if (isCopied) CarryStatus(source.Get(), copy.Get(), status);
  if (isCopied && CloseWritten(std::move(copy))) return true;
  DeleteUnfinished(AT_FDCWD, to, created);
  return false;
}
