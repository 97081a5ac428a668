// SPDX-License-Identifier: MIT
#include "foundation/store/datfilelines.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "foundation/files/descriptorio.h"
#include "foundation/files/linebreak.h"

bool DatFileLines::Next() {
  while (unread_ != end_ && IsLineBreak(*unread_))
    ++unread_;
  char* searched = unread_;
  for (;;) {
    char* const lineBreak = const_cast<char*>(FindLineBreak(searched, end_));
    if (lineBreak != end_) {
      Take(lineBreak);
      unread_ = lineBreak + 1;
      return true;
    }
    // What lies beyond the longest line is dropped in any case, so it need not be kept.
    const std::size_t kept = std::min(static_cast<std::size_t>(end_ - unread_), kLongestLine);
    if (!Refill(kept)) {
      Take(end_);
      unread_ = end_;
      return kept != 0;
    }
    searched = unread_ + kept;
  }
}

bool DatFileLines::Refill(std::size_t kept) {
  std::memmove(buffer_, unread_, kept);
  const ssize_t count = ReadOnce(descriptor_, buffer_ + kept, kBlock - kept);
  failed_ = failed_ || count < 0;
  unread_ = buffer_;
  end_ = buffer_ + kept + std::max<ssize_t>(count, 0);
  nul_ = nullptr;
  bytesRead_ += std::max<ssize_t>(count, 0);
  return count > 0;
}

void DatFileLines::FindNul() {
  if (nul_ && nul_ >= unread_) return;
  void* const found = std::memchr(unread_, 0, static_cast<std::size_t>(end_ - unread_));
  nul_ = found ? static_cast<char*>(found) : end_;
}

void DatFileLines::Take(char* end) {
  FindNul();
  text_ = unread_;
  length_ = std::min({static_cast<std::size_t>(end - text_), kLongestLine,
                      static_cast<std::size_t>(nul_ - text_)});
  text_[length_] = 0;
  ++lineCount_;
}

std::size_t DatFileLines::EstimateRemaining() {
  struct stat status = {};
  const off_t done = bytesRead_ - (end_ - unread_);
  if (fstat(descriptor_, &status) != 0 || status.st_size <= done || done == 0) return 0;
  const double share = static_cast<double>(status.st_size - done) / static_cast<double>(done);
  return static_cast<std::size_t>(share * static_cast<double>(lineCount_));
}
