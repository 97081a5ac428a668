// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_LINUX_MOUNTTABLE_H
#define ZORVEX_PLATFORM_LINUX_MOUNTTABLE_H

#include <cstddef>
#include <span>

#include "platform/volumes.h"

/// Reads the kernel's table of mounts, /proc/self/mountinfo, from a descriptor. A line of it:
///
///     36 35 98:0 /root /mount/point options shared:1 ... - type source options
///
/// The number in front is the one that the kernel knows the mount by. Lines have no limit.
class MountTable {
 public:
  explicit MountTable(int descriptor) : descriptor_(descriptor) {}

  /// Goes on to the line of a mount and fills in its volume. False, with the volume left alone,
  /// when no line of it follows.
  bool Find(unsigned long mountId, Volume& volume);

 private:
  /// The next byte, or -1 at the end.
  int Next();
  /// Reads to the end of the field: into a text of that size, with its escapes (\040 for a space)
  /// taken out and the rest dropped.
  void ReadField(std::span<char> text);
  void SkipField() { ReadField({}); }
  void SkipLine();
  [[nodiscard]] bool IsAtLineEnd() const { return last_ == '\n' || last_ == -1; }

  const int descriptor_;
  int last_ = '\n';  // that Next gave
  std::size_t position_ = 0;
  std::size_t count_ = 0;
  char buffer_[4096];
};

#endif  // ZORVEX_PLATFORM_LINUX_MOUNTTABLE_H
