// SPDX-License-Identifier: MIT
#include "platform/firewire/nodelock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

namespace {

UniqueFd OpenFile(const std::string& path) {
  return UniqueFd(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
}

}  // namespace

namespace firewire {

NodeLock::Result NodeLock::Take(const std::string& path) {
  // Who only asks whether it is busy holds it for a moment.
  constexpr int kTries = 4;
  constexpr std::chrono::milliseconds kPause{10};
  UniqueFd file = OpenFile(path);
  if (!file) return Result::Failed;
  for (int tries = kTries; flock(file.Get(), LOCK_EX | LOCK_NB) != 0;) {
    if (errno != EWOULDBLOCK && errno != EINTR) return Result::Failed;
    if (--tries == 0) return Result::Busy;
    std::this_thread::sleep_for(kPause);
  }
  file_ = std::move(file);
  return Result::Taken;
}

bool NodeLock::IsOn(const std::string& path) const {
  struct stat held, there;
  return file_ && fstat(file_.Get(), &held) == 0 && stat(path.c_str(), &there) == 0 &&
         held.st_dev == there.st_dev && held.st_ino == there.st_ino;
}

bool NodeLock::IsBusy(const std::string& path) {
  const UniqueFd file = OpenFile(path);
  return file && flock(file.Get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

}  // namespace firewire
