// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_VOLUMES_H
#define ZORVEX_PLATFORM_VOLUMES_H

/// A mounted file system, as the platform describes it.
struct Volume {
  /// The kind of file system, in the platform's letters. FAT file systems are told apart: "FAT12",
  /// "FAT16", "FAT32". Empty when the platform does not tell.
  char typeName[64];
  /// Where it is mounted; cut at 259 bytes, empty when the platform does not tell.
  char mountPoint[260];
};

/// The volume that a file or folder is on; a link counts as what it leads to. False, with both
/// texts empty, when there is no such file. Any thread; allocates nothing.
bool ReadVolume(const char* path, Volume& volume);

#endif  // ZORVEX_PLATFORM_VOLUMES_H
