// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FIREWIRE_NODELOCK_H
#define ZORVEX_PLATFORM_FIREWIRE_NODELOCK_H

#include <string>

#include "platform/uniquefd.h"

namespace firewire {

/// Holds a unit for this process: a lock (flock) on its device file.
///
/// The bus itself lets everybody listen to a unit's broadcast, and has nothing to hold a tape with.
/// The lock is what programs on this platform agree on; those that know nothing of it are not kept
/// out. The kernel drops it with the process, and with the unit its device file.
class NodeLock {
 public:
  enum class Result { Taken, Busy, Failed };

  Result Take(const std::string& path);
  void Release() { file_ = UniqueFd(); }
  /// Whether the file at `path` is the one that is locked, and not a later one of that name.
  bool IsOn(const std::string& path) const;
  /// Whether another process, or another lock, holds the file.
  static bool IsBusy(const std::string& path);

 private:
  UniqueFd file_;
};

}  // namespace firewire

#endif  // ZORVEX_PLATFORM_FIREWIRE_NODELOCK_H
