// SPDX-License-Identifier: MIT
#include "platform/fileattributes.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstdio>

namespace {

/// Who is no superuser has attributes under "user." only.
class AttributeName {
 public:
  explicit AttributeName(const char* name) { std::snprintf(text_, sizeof text_, "user.%s", name); }
  const char* Text() const { return text_; }

 private:
  char text_[256];  // longer ones are not allowed, and fail cut as they would whole
};

// The kernel does not tell apart a file that may have none and one that may not be changed.
bool IsOfKindWithoutAttributes(const char* path) {
  struct stat status = {};
  return stat(path, &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

FileAttributeResult ResultOf(int failed, const char* path) {
  if (failed == 0) return FileAttributeResult::kDone;
  if (errno == ENOTSUP || errno == ENOSYS) return FileAttributeResult::kUnsupported;
  if (errno == EPERM && IsOfKindWithoutAttributes(path)) return FileAttributeResult::kUnsupported;
  return FileAttributeResult::kFailed;
}

}  // namespace

FileAttributeResult SetFileAttribute(const char* path, const char* name, const void* value,
                                     std::size_t size) {
  return ResultOf(setxattr(path, AttributeName(name).Text(), value, size, 0), path);
}

FileAttributeResult RemoveFileAttribute(const char* path, const char* name) {
  return ResultOf(removexattr(path, AttributeName(name).Text()), path);
}
