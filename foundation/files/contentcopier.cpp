// SPDX-License-Identifier: MIT
#include "foundation/files/contentcopier.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "foundation/files/descriptorio.h"
#include "platform/filecopy.h"

namespace {

constexpr off_t kNoEnd = std::numeric_limits<off_t>::max();
constexpr std::size_t kBufferSize = 65536;
constexpr std::size_t kLargeStep = std::size_t{1} << 20;
constexpr off_t kBlockSize = 512;  // of st_blocks

bool HasHoles(const struct stat& file) {
  return file.st_blocks < file.st_size / kBlockSize;
}

bool WriteAllAt(int descriptor, const char* bytes, std::size_t count, off_t offset) {
  while (count > 0) {
    const ssize_t written = pwrite(descriptor, bytes, count, offset);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    offset += written;
    count -= static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace

ContentCopier::ContentCopier(int from, int to, const struct stat& source)
    : from_(from), to_(to), size_(source.st_size), dataEnd_(HasHoles(source) ? 0 : kNoEnd) {}

void ContentCopier::FindData() {
  dataBegin_ = offset_;
  dataEnd_ = kNoEnd;
#ifdef SEEK_DATA
  if (offset_ >= size_) return;
  const off_t begin = lseek(from_, offset_, SEEK_DATA);
  if (begin >= 0) {
    const off_t end = lseek(from_, begin, SEEK_HOLE);
    dataBegin_ = begin;
    dataEnd_ = end > begin ? end : kNoEnd;
  } else if (struct stat now = {}; errno == ENXIO && fstat(from_, &now) == 0) {
    // Nothing is stored from here on: zeros as far as the file still goes.
    dataBegin_ = dataEnd_ = std::max(offset_, std::min(size_, now.st_size));
    if (dataEnd_ == offset_) dataEnd_ = kNoEnd;
  }
#endif
}

std::size_t ContentCopier::Copy(std::size_t count) {
  std::size_t copied = 0;
  while (copied < count) {
    if (offset_ >= dataEnd_) FindData();
    const bool isHole = offset_ < dataBegin_;
    const auto run = static_cast<std::size_t>((isHole ? dataBegin_ : dataEnd_) - offset_);
    const std::size_t step = std::min(count - copied, run);
    errno = 0;
    const ssize_t moved = isHole ? static_cast<ssize_t>(step) : CopySome(step);
    if (moved <= 0) break;
    offset_ += moved;
    copied += static_cast<std::size_t>(moved);
  }
  return copied;
}

ssize_t ContentCopier::CopySome(std::size_t count) {
  if (isCopiedBySystem_) {
    const ssize_t copied = CopyFileBytes(from_, to_, offset_, count);
    if (copied > 0) return copied;
    // Whatever the reason: what is a real failure or the real end fails or ends in the other way,
    // too.
    isCopiedBySystem_ = false;
  }
  return CopyThroughBuffer(count);
}

ssize_t ContentCopier::CopyThroughBuffer(std::size_t count) {
  char buffer[kBufferSize];
  errno = 0;
  const ssize_t taken = ReadOnceAt(from_, buffer, std::min(count, sizeof buffer), offset_);
  if (taken <= 0) return taken;
  return WriteAllAt(to_, buffer, static_cast<std::size_t>(taken), offset_) ? taken : -1;
}

bool ContentCopier::CopyAll() {
  if (CloneFile(from_, to_)) return true;
  while (Copy(kLargeStep) == kLargeStep) {
  }
  return errno == 0 && Finish();
}

bool ContentCopier::Finish() const {
  // Only zeros behind the last byte that was written have not made the file longer.
  return dataBegin_ < offset_ || offset_ == 0 || ftruncate(to_, offset_) == 0;
}
