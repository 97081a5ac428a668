// SPDX-License-Identifier: MIT
#include "platform/folderidentity.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

/// As kernels before 5.8 let it be found out, which misses what is mounted from the same volume.
bool IsOnOtherVolumeThanAbove(int folder, unsigned long long device) {
  struct stat above = {};
  return fstatat(folder, "..", &above, 0) == 0 && above.st_dev != device;
}

}  // namespace

bool ReadFolderIdentity(int folder, FolderIdentity& identity) {
  struct statx status = {};
  if (statx(folder, "", AT_EMPTY_PATH, STATX_INO, &status) != 0) return false;
  identity.device = makedev(status.stx_dev_major, status.stx_dev_minor);
  identity.inode = status.stx_ino;
  // Not by device numbers: a subvolume has its own without being mounted.
  identity.isMountPoint = (status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0
                              ? (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0
                              : IsOnOtherVolumeThanAbove(folder, identity.device);
  return true;
}
