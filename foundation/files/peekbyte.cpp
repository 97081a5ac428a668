// SPDX-License-Identifier: MIT
#include "foundation/files/peekbyte.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/uniquefd.h"

namespace {

template <typename Call>
std::optional<int> ByteOf(const unsigned char& byte, Call call) {
  ssize_t got = 0;
  do {
    got = call();
  } while (got < 0 && errno == EINTR);
  return got == 1 ? byte : -1;
}

std::optional<int> PeekSocket(int descriptor) {
  unsigned char byte = 0;
  return ByteOf(byte, [&] { return recv(descriptor, &byte, 1, MSG_PEEK); });
}

// Only Linux can: tee(2) copies what a pipe holds into another pipe. Elsewhere this gives nothing.
std::optional<int> PeekPipe(int descriptor) {
#if defined(__linux__)
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  const UniqueFd readEnd(ends[0]);
  const UniqueFd writeEnd(ends[1]);
  unsigned char byte = 0;
  return ByteOf(byte, [&] {
    const ssize_t copied = tee(descriptor, writeEnd.Get(), 1, 0);
    return copied == 1 ? read(readEnd.Get(), &byte, 1) : copied;
  });
#else
  static_cast<void>(descriptor);
  return std::nullopt;
#endif
}

}  // namespace

std::optional<int> PeekByte(int descriptor) {
  struct stat status = {};
  if (fstat(descriptor, &status) != 0) return std::nullopt;
  if (S_ISFIFO(status.st_mode)) return PeekPipe(descriptor);
  if (S_ISSOCK(status.st_mode)) return PeekSocket(descriptor);
  return std::nullopt;
}
