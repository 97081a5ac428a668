// SPDX-License-Identifier: MIT
#include "platform/volumes.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "platform/linux/mounttable.h"
#include "platform/uniquefd.h"

namespace {

UniqueFd OpenForReading(const char* path) {
  return UniqueFd(open(path, O_RDONLY | O_CLOEXEC));
}

/// The number that the kernel knows the mount by that a descriptor was opened through. It is exact
/// where device numbers are not: bind mounts, subvolumes, overlays.
bool ReadMountId(int descriptor, unsigned long& id) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/self/fdinfo/%d", descriptor);
  const UniqueFd file = OpenForReading(path);
  char text[512] = "";
  if (!file || read(file.Get(), text, sizeof text - 1) <= 0) return false;
  constexpr char kLabel[] = "mnt_id:";
  const char* const found = std::strstr(text, kLabel);
  if (found == nullptr) return false;
  id = std::strtoul(found + std::strlen(kLabel), nullptr, 10);
  return true;
}

/// The kernel calls them all "vfat" or "msdos". Their kind follows from the number of clusters,
/// which this driver gives as the number of blocks.
const char* FatTypeName(unsigned long long clusters) {
  if (clusters < 4085) return "FAT12";
  return clusters < 65525 ? "FAT16" : "FAT32";
}

}  // namespace

bool ReadVolume(const char* path, Volume& volume) {
  volume = {};
  // By its path, which mounts a volume that waits for somebody to look at it.
  struct statfs status = {};
  if (statfs(path, &status) != 0) return false;
  // Needs no permission for the file itself, and opens no device that it may be.
  const UniqueFd file(open(path, O_PATH | O_CLOEXEC));
  unsigned long mountId = 0;
  if (file && ReadMountId(file.Get(), mountId)) {
    if (const UniqueFd table = OpenForReading("/proc/self/mountinfo")) {
      MountTable(table.Get()).Find(mountId, volume);
    }
  }
  if (status.f_type == MSDOS_SUPER_MAGIC) {
    std::strcpy(volume.typeName, FatTypeName(status.f_blocks));
  }
  return true;
}
