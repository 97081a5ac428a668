// SPDX-License-Identifier: MIT
#include "platform/filecopy.h"

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace {

// The kernel's own limits, of a value and of all names together.
constexpr std::size_t kMaxAttributeSize = 65536;

bool IsCarried(std::string_view name) {
  return name.starts_with("user.") || name.starts_with("system.posix_acl_");
}

}  // namespace

bool CloneFile(int from, int to) {
  return ioctl(to, FICLONE, from) == 0;
}

ssize_t CopyFileBytes(int from, int to, off_t offset, std::size_t count) {
  off_t fromOffset = offset;
  off_t toOffset = offset;
  ssize_t copied = 0;
  do {
    copied = copy_file_range(from, &fromOffset, to, &toOffset, count, 0);
  } while (copied < 0 && errno == EINTR);
  return copied;
}

void CopyFileAttributes(int from, int to) {
  // Nearly all files have none, and then nothing is allocated.
  if (flistxattr(from, nullptr, 0) <= 0) return;
  const std::unique_ptr<char[]> names(new (std::nothrow) char[kMaxAttributeSize]);
  const std::unique_ptr<char[]> value(new (std::nothrow) char[kMaxAttributeSize]);
  if (names == nullptr || value == nullptr) return;
  const ssize_t listed = flistxattr(from, names.get(), kMaxAttributeSize);
  const char* const end = names.get() + (listed > 0 ? listed : 0);
  for (const char* name = names.get(); name < end; name += std::strlen(name) + 1) {
    if (!IsCarried(name)) continue;
    const ssize_t size = fgetxattr(from, name, value.get(), kMaxAttributeSize);
    if (size >= 0) fsetxattr(to, name, value.get(), static_cast<std::size_t>(size), 0);
  }
}
