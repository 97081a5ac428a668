// SPDX-License-Identifier: MIT
#include "platform/birthtime.h"

#include <fcntl.h>
#include <sys/stat.h>

bool ReadBirthTime(int folder, const char* name, long long& seconds) {
  struct statx status = {};
  if (statx(folder, name, AT_SYMLINK_NOFOLLOW, STATX_BTIME | STATX_CTIME, &status) != 0) {
    return false;
  }
  // Some claim to keep it and give zeros, for files that came with the file system's image, say.
  const bool isKept = (status.stx_mask & STATX_BTIME) != 0 && status.stx_btime.tv_sec > 0;
  seconds = isKept ? status.stx_btime.tv_sec : status.stx_ctime.tv_sec;
  return true;
}
