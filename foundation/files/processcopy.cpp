// SPDX-License-Identifier: MIT
#include "foundation/files/processcopy.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <memory>

#include "foundation/files/copystatus.h"
#include "foundation/files/lockedcopy.h"
#include "foundation/files/pathtext.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 2;
constexpr mode_t kReadableAndWritable = 0666;

void SetWholePath(char* dest, const char* path) {
  const std::string_view text = FirstOf(path, kPathSize);
  CopyPath(dest, text.size() <= kMaxPathLength ? text : std::string_view());
}

/// By the path that links lead to: not the link is to go but what was written.
void DeleteDestination(const char* path, const struct stat& file) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path, nullptr), std::free);
  DeleteUnfinished(AT_FDCWD, resolved != nullptr ? resolved.get() : path, file);
}

}  // namespace

LProcessCopyFile::LProcessCopyFile(const char* from, const char* to) {
  SetWholePath(source, from);
  SetWholePath(destination, to);
}

LProcessCopyFolder::LProcessCopyFolder(const char* from, const char* to) {
  SetWholePath(source, from);
  SetWholePath(destination, to);
}

int Process(LProcessInterface& process, const LProcessCopyFile& copy) {
  process.SetStatus("Copy File", 0);
  struct stat status = {}, opened = {};
  const UniqueFd source = OpenSource(AT_FDCWD, copy.source, 0, status);
  if (!source) return kFailed;
  UniqueFd destination =
      OpenDestination(AT_FDCWD, copy.destination, 0, kReadableAndWritable, status, opened);
  if (!destination) return kFailed;
  const bool isCopied =
      CopyContent(process, source.Get(), destination.Get(), status) == CopyResult::kDone;
  if (isCopied) CarryTimes(destination.Get(), status);
  if (isCopied && CloseWritten(std::move(destination))) return kDone;
  DeleteDestination(copy.destination, opened);
  return kFailed;
}
