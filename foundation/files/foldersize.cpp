// SPDX-License-Identifier: MIT
#include "foundation/files/filesizes.h"
#include "foundation/files/folderiterator.h"
#include "foundation/files/wildcard.h"

namespace {

/// By the pattern alone: hidden files take up room like others.
class AllMatchingFiles : public LFile::FolderIterator {
 public:
  bool _Matches(const char* name) const override { return IsMatchAnyCase(GetPattern(), name); }
};

struct WithSubFolders {
  bool isWithSubFolders;

  bool IsToGoOn() const { return true; }
  bool IsToEnter(const FolderHandle& /*folder*/) const { return isWithSubFolders; }
};

}  // namespace

unsigned long long LFile::GetFolderSizeBytes(const char* path, bool isWithSubFolders) {
  if (FolderHandle folder = FolderHandle::OpenFollowing(AT_FDCWD, path)) {
    const WithSubFolders rules = {isWithSubFolders};
    return SizeOfFiles(folder, rules);
  }
  unsigned long long size = 0;
  AllMatchingFiles files;
  for (bool isAt = files.Open(path); isAt; isAt = files.Next()) {
    size += SizeOfFile(files.FolderDescriptor(), files.GetFileName());
  }
  return size;
}
