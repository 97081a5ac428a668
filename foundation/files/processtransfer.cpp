// SPDX-License-Identifier: MIT
#include "foundation/files/processtransfer.h"

#include <algorithm>

#include "foundation/files/descriptorio.h"

namespace {

constexpr std::size_t kChunk = 10240;

/// `move(offset, count)` moves so many bytes and says how many it did.
template <typename Move>
int Transfer(LProcessInterface& process, std::size_t n, Move move) {
  for (std::size_t done = 0; done < n;) {
    if (process.IsToStop()) return 1;
    const std::size_t chunk = std::min(n - done, kChunk);
    if (move(done, chunk) != static_cast<ssize_t>(chunk)) return 2;
    done += chunk;
    process.SetProgress(static_cast<double>(done) / static_cast<double>(n));
  }
  return 0;
}

}  // namespace

int LProcessFileRead(LProcessInterface& process, LReadFileRef& file, void* buf, std::size_t n) {
  return Transfer(process, n, [&](std::size_t offset, std::size_t count) {
    return ReadOnce(file.Descriptor(), static_cast<char*>(buf) + offset, count);
  });
}

int LProcessFileWrite(LProcessInterface& process, LWriteFileRef& file, const void* buf,
                      std::size_t n) {
  return Transfer(process, n, [&](std::size_t offset, std::size_t count) {
    return WriteOnce(file.Descriptor(), static_cast<const char*>(buf) + offset, count);
  });
}
