// SPDX-License-Identifier: MIT
#include "foundation/files/bufferedreader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "foundation/files/descriptorio.h"
#include "foundation/files/linebreak.h"

std::size_t LReadFileBuffered::TakeBuffered(void* dest, std::size_t n) {
  const std::size_t taken = std::min(n, Unread());
  std::memcpy(dest, buffer_ + position_, taken);
  position_ += taken;
  return taken;
}

// Only when the buffer is used up. False at the end of the file.
bool LReadFileBuffered::Refill() {
  const ssize_t got = ReadOnce(descriptor_, buffer_, kBufferSize);
  position_ = 0;
  count_ = static_cast<std::uint64_t>(std::max<ssize_t>(got, 0));
  return got > 0;
}

std::size_t LReadFileBuffered::Read(void* dest, std::size_t n) {
  auto* const bytes = static_cast<char*>(dest);
  std::size_t done = 0;
  while (done < n) {
    if (Unread() == 0) {
      if (n - done >= kLeastUnbuffered) {
        const ssize_t got = ReadOnce(descriptor_, bytes + done, n - done);
        return done + static_cast<std::size_t>(std::max<ssize_t>(got, 0));
      }
      if (!Refill()) break;
    }
    done += TakeBuffered(bytes + done, n - done);
  }
  return done;
}

std::size_t LReadFileBuffered::Peek(void* dest, std::size_t n) {
  auto* const bytes = static_cast<char*>(dest);
  const std::size_t done = std::min(n, Unread());
  if (done > 0) std::memcpy(bytes, buffer_ + position_, done);
  if (done == n) return done;
  const bool isBufferEnough = done == 0 && n <= kBufferSize;
  return done +
         (isBufferEnough ? PeekIntoBuffer(bytes, n) : PeekPastBuffer(bytes + done, n - done));
}

// What can seek is read where it stands, so that its offset only ever covers what is buffered: all
// of the old buffer, or the beginning of what was read now. What can not would lose the rest: it
// reads into the room that is left behind the unread bytes.
std::size_t LReadFileBuffered::PeekPastBuffer(char* dest, std::size_t n) {
  const off_t offset = descriptor_ == -1 ? -1 : lseek(descriptor_, 0, SEEK_CUR);
  if (offset < 0) return PeekIntoBuffer(dest, n);
  const ssize_t got = ReadOnceAt(descriptor_, dest, n, offset);
  if (got <= 0) return 0;
  const auto peeked = static_cast<std::size_t>(got);
  if (Unread() == 0) {
    position_ = 0;
    count_ = std::min(peeked, kBufferSize);
    std::memcpy(buffer_, dest, static_cast<std::size_t>(count_));
    MoveDescriptor(static_cast<long long>(count_), SEEK_CUR);
  }
  return peeked;
}

std::size_t LReadFileBuffered::PeekIntoBuffer(char* dest, std::size_t n) {
  const std::size_t unread = Unread();
  std::memmove(buffer_, buffer_ + position_, unread);
  position_ = 0;
  const ssize_t got = ReadOnce(descriptor_, buffer_ + unread, std::min(n, kBufferSize - unread));
  const auto peeked = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
  count_ = unread + peeked;
  std::memcpy(dest, buffer_ + unread, peeked);
  return peeked;
}

bool LReadFileBuffered::ReadLine(char* buf, std::size_t size) {
  const std::size_t room = size > 0 ? size - 1 : 0;
  std::size_t stored = 0;
  bool hasEnd = false;
  while (!hasEnd && (Unread() > 0 || Refill())) {
    const char* const begin = buffer_ + position_;
    const char* const end = buffer_ + count_;
    const std::size_t fitting = std::min(Unread(), room - stored);
    const char* lineBreak = CopyToLineBreak(begin, begin + fitting, buf + stored);
    stored += static_cast<std::size_t>(lineBreak - begin);
    if (lineBreak == begin + fitting) lineBreak = FindLineBreak(lineBreak, end);
    hasEnd = lineBreak != end;
    position_ = static_cast<std::uint64_t>(lineBreak - buffer_) + (hasEnd ? 1 : 0);
    if (!hasEnd || *lineBreak != '\r') continue;
    if ((Unread() > 0 || Refill()) && buffer_[position_] == '\n') ++position_;
  }
  if (size > 0) buf[stored] = 0;
  return hasEnd || stored > 0;
}

bool LReadFileBuffered::MoveDescriptor(long long offset, int from) {
  return descriptor_ != -1 && lseek(descriptor_, offset, from) >= 0;
}

bool LReadFileBuffered::Seek(unsigned int position) {
  return Seek64(position);
}

bool LReadFileBuffered::Seek64(unsigned long long position) {
  if (position > std::numeric_limits<off_t>::max()) return false;
  if (!MoveDescriptor(static_cast<long long>(position), SEEK_SET)) return false;
  position_ = count_ = 0;
  return true;
}

bool LReadFileBuffered::SeekOffset64(long long distance) {
  long long fromDescriptor = 0;
  if (__builtin_sub_overflow(distance, static_cast<long long>(Unread()), &fromDescriptor) ||
      !MoveDescriptor(fromDescriptor, SEEK_CUR)) {
    return false;
  }
  position_ = count_ = 0;
  return true;
}

unsigned long long LReadFileBuffered::Tell64() const {
  const off_t offset = descriptor_ == -1 ? -1 : lseek(descriptor_, 0, SEEK_CUR);
  return offset < 0 ? 0 : static_cast<unsigned long long>(offset) - Unread();
}

unsigned long long LReadFileBuffered::GetFileSizeBytes64() const {
  struct stat status = {};
  if (descriptor_ == -1 || fstat(descriptor_, &status) != 0) return 0;
  return static_cast<unsigned long long>(status.st_size);
}
