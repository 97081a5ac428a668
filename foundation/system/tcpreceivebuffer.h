// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_TCPRECEIVEBUFFER_H
#define ZORVEX_FOUNDATION_SYSTEM_TCPRECEIVEBUFFER_H

#include <algorithm>
#include <cstring>
#include <string_view>

#include "foundation/system/tcp.h"

/// What was received in search of a delimiter and not handed out yet.
class ZORVEX_HIDDEN LTcpSocket::ReceiveBuffer {
 public:
  [[nodiscard]] std::string_view Text() const { return {bytes_.Data() + begin_, Size()}; }

  /// Takes up to `size` bytes from the front.
  std::size_t Take(void* dest, std::size_t size) {
    const std::size_t taken = std::min(size, Size());
    std::memcpy(dest, bytes_.Data() + begin_, taken);
    Drop(taken);
    return taken;
  }
  void Drop(std::size_t count) {
    begin_ += count;
    if (begin_ < bytes_.Count()) return;
    begin_ = 0;
    bytes_.SetCount(0);
  }

  /// Room behind the text, RoomSize bytes of it.
  static constexpr std::size_t RoomSize = 4096;
  char* Room() {
    if (bytes_.Capacity() - bytes_.Count() < RoomSize && begin_ > 0) {
      std::memmove(bytes_.Data(), bytes_.Data() + begin_, Size());
      bytes_.SetCount(Size());
      begin_ = 0;
    }
    if (bytes_.Capacity() - bytes_.Count() < RoomSize)
      bytes_.SetCapacity(2 * bytes_.Capacity() + RoomSize);
    return bytes_.Data() + bytes_.Count();
  }
  /// So much was written to the room.
  void Add(std::size_t count) { bytes_.SetCount(bytes_.Count() + count); }

 private:
  [[nodiscard]] std::size_t Size() const { return bytes_.Count() - begin_; }

  LSizedArray<char> bytes_;
  std::size_t begin_ = 0;
};

#endif  // ZORVEX_FOUNDATION_SYSTEM_TCPRECEIVEBUFFER_H
