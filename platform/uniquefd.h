// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_UNIQUEFD_H
#define ZORVEX_PLATFORM_UNIQUEFD_H

#include <unistd.h>

#include <utility>

/// Owns an open file descriptor, or none.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int descriptor) : descriptor_(descriptor) {}
  UniqueFd(UniqueFd&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  UniqueFd& operator=(UniqueFd other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~UniqueFd() {
    // Not tried again when interrupted: the descriptor is gone either way.
    if (descriptor_ >= 0) close(descriptor_);
  }

  int Get() const { return descriptor_; }
  /// The caller owns it from now on.
  int Release() { return std::exchange(descriptor_, -1); }
  explicit operator bool() const { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

#endif  // ZORVEX_PLATFORM_UNIQUEFD_H
