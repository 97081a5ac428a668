// SPDX-License-Identifier: MIT
#include "foundation/files/folderdescent.h"

namespace {

constexpr std::size_t kMaxOpenFolders = 32;

bool IsOf(const FolderHandle& folder, const FolderIdentity& identity) {
  FolderIdentity found;
  return folder && ReadFolderIdentity(folder.Descriptor(), found) && found == identity;
}

bool IsSystemRoot(const FolderIdentity& identity) {
  return IsOf(FolderHandle::Open(AT_FDCWD, "/"), identity);
}

FolderDescent::Entry ReasonOfFailure() {
  // ELOOP and ENOTDIR: what a link gives depends on the system.
  const bool isNoFolder = errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
  return isNoFolder ? FolderDescent::Entry::kNoFolder : FolderDescent::Entry::kClosed;
}

}  // namespace

FolderDescent::Entry FolderDescent::EnterRoot(const char* path) {
  Level root;
  root.handle = FolderHandle::Open(AT_FDCWD, path);
  if (!root.handle) return ReasonOfFailure();
  if (!ReadFolderIdentity(root.handle.Descriptor(), root.identity)) return Entry::kClosed;
  if (IsSystemRoot(root.identity)) return Entry::kNoFolder;
  levels_.push_back(std::move(root));
  return Entry::kDone;
}

FolderDescent::Entry FolderDescent::Enter(const char* name) {
  Level level;
  level.handle = OpenWithRoom(name);
  if (!level.handle) return ReasonOfFailure();
  if (!ReadFolderIdentity(level.handle.Descriptor(), level.identity) ||
      level.identity.isMountPoint) {
    return Entry::kClosed;
  }
  level.name = name;
  levels_.push_back(std::move(level));
  if (levels_.size() - firstOpen_ >= kMaxOpenFolders) CloseHighest();
  return Entry::kDone;
}

void FolderDescent::Leave() {
  Level left = std::move(levels_.back());
  levels_.pop_back();
  if (Current()) return;
  firstOpen_ = levels_.size() - 1;
  FolderHandle above = FolderHandle::Open(left.handle.Descriptor(), "..");
  if (IsOf(above, levels_.back().identity)) {
    Current() = std::move(above);
    return;
  }
  left.handle = {};
  above = {};
  FindAgain();
}

/// Other threads may need the last descriptors, too.
FolderHandle FolderDescent::OpenWithRoom(const char* name) {
  FolderHandle folder = FolderHandle::Open(Descriptor(), name);
  while (!folder && (errno == EMFILE || errno == ENFILE) && CloseHighest()) {
    folder = FolderHandle::Open(Descriptor(), name);
  }
  return folder;
}

/// Of the folders between the root and the current one.
bool FolderDescent::CloseHighest() {
  if (firstOpen_ + 1 >= levels_.size()) return false;
  levels_[firstOpen_++].handle = {};
  return true;
}

/// Down again from the root, as far as the folders stand where they stood.
void FolderDescent::FindAgain() {
  FolderHandle current;
  std::size_t depth = 1;
  for (; depth < levels_.size(); ++depth) {
    const int above = depth == 1 ? levels_[0].handle.Descriptor() : current.Descriptor();
    FolderHandle next = FolderHandle::Open(above, levels_[depth].name.c_str());
    if (!IsOf(next, levels_[depth].identity)) break;
    current = std::move(next);
  }
  levels_.resize(depth);
  if (depth > 1) Current() = std::move(current);
  firstOpen_ = depth > 1 ? depth - 1 : 1;
}
