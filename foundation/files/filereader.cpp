// SPDX-License-Identifier: MIT
#include "foundation/files/filereader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <optional>

#include "foundation/files/descriptorio.h"
#include "foundation/files/linebreak.h"
#include "foundation/files/peekbyte.h"
#include "foundation/text/stringwriter.h"

namespace {

constexpr std::size_t kFirstBlock = 512;
constexpr std::size_t kLargestBlock = 8192;

// Where the last line that this thread read ended. Only a guess of where the next one begins, which
// saves asking for it: what is read there counts when the offset of the descriptor turns out to be
// the same. The descriptor may have been moved, or be another file by now.
struct NextLineGuess {
  int descriptor = -1;
  off_t offset = 0;
};
constinit thread_local NextLineGuess nextLineGuess;

class FixedLine {
 public:
  FixedLine(char* buf, std::size_t size) : buf_(buf), room_(size > 0 ? size - 1 : 0) {}

  void Restart() { length_ = 0; }
  void Add(const char* characters, std::size_t count) {
    count = std::min(count, room_ - length_);
    std::copy_n(characters, count, buf_ + length_);
    length_ += count;
  }
  std::size_t Length() const { return length_; }

 private:
  char* buf_;
  std::size_t room_;
  std::size_t length_ = 0;
};

class GrowingLine {
 public:
  explicit GrowingLine(LStringLongTemplate<char>& line) : writer_(line) {}
  // Also when it could not grow.
  ~GrowingLine() { writer_.Terminate(); }
  GrowingLine(const GrowingLine&) = delete;
  GrowingLine& operator=(const GrowingLine&) = delete;

  void Restart() { writer_.Restart(); }
  void Add(const char* characters, std::size_t count) { writer_.AddText(characters, count); }
  std::size_t Length() const { return static_cast<std::size_t>(writer_.Length()); }

 private:
  LStringLongTemplateWriter<char> writer_;
};

/// Reads a line by blocks from one place of a file, and moves the descriptor behind it. The bytes
/// after the line are read, too, without moving the descriptor over them.
template <typename Line>
class BlockScan {
 public:
  BlockScan(int descriptor, off_t offset, bool isGuess, Line& line)
      : descriptor_(descriptor), offset_(offset), isGuess_(isGuess), line_(line) {}

  /// False when the descriptor stands elsewhere; it is left there.
  bool Run() { return Scan() && Advance(); }
  bool HasEnd() const { return hasEnd_; }
  off_t End() const { return offset_ + size_; }

 private:
  bool Scan() {
    char block[kLargestBlock];
    for (std::size_t blockSize = kFirstBlock;; blockSize = std::min(blockSize * 4, kLargestBlock)) {
      const ssize_t got = ReadOnceAt(descriptor_, block, blockSize, End());
      if (got <= 0) return true;
      const char* const end = block + got;
      const char* const lineBreak = FindLineBreak(block, end);
      line_.Add(block, static_cast<std::size_t>(lineBreak - block));
      size_ += lineBreak - block;
      if (lineBreak != end) {
        ++size_;
        hasEnd_ = true;
        const char other = *lineBreak == '\n' ? '\r' : '\n';
        const bool isPair = lineBreak + 1 != end ? lineBreak[1] == other : IsNext(other);
        if (isPair) ++size_;
        return true;
      }
      // Much may follow: no more of it for a guess.
      if (isGuess_ && lseek(descriptor_, 0, SEEK_CUR) != offset_) return false;
      isGuess_ = false;
    }
  }

  bool IsNext(char expected) const {
    char next = 0;
    return ReadOnceAt(descriptor_, &next, 1, End()) == 1 && next == expected;
  }

  bool Advance() {
    const off_t reached = lseek(descriptor_, size_, SEEK_CUR);
    if (!isGuess_ || reached == End()) return true;
    if (reached >= 0) lseek(descriptor_, -size_, SEEK_CUR);
    return false;
  }

  const int descriptor_;
  const off_t offset_;
  bool isGuess_;
  Line& line_;
  off_t size_ = 0;
  bool hasEnd_ = false;
};

// Nothing when the place in front of the line is not known, or it is none that can be returned to.
std::optional<off_t> LineOffset(int descriptor) {
  struct stat status = {};
  const off_t offset = lseek(descriptor, 0, SEEK_CUR);
  if (offset < 0 || fstat(descriptor, &status) != 0) return std::nullopt;
  // Some devices give an offset and take no notice of it.
  if (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode)) return std::nullopt;
  return offset;
}

/// Whether the line had an end; nothing when the descriptor stands elsewhere.
template <typename Line>
std::optional<bool> ReadLineAt(off_t offset, bool isGuess, int descriptor, Line& line) {
  line.Restart();
  BlockScan scan(descriptor, offset, isGuess, line);
  if (!scan.Run()) return std::nullopt;
  // Who reads on after the end of a file mostly reads another one.
  nextLineGuess = {scan.HasEnd() ? descriptor : -1, scan.End()};
  return scan.HasEnd();
}

/// Nothing when the file is not one to read by blocks.
template <typename Line>
std::optional<bool> ReadLineByBlocks(int descriptor, Line& line) {
  if (nextLineGuess.descriptor == descriptor) {
    if (const auto hasEnd = ReadLineAt(nextLineGuess.offset, true, descriptor, line)) return hasEnd;
    nextLineGuess.descriptor = -1;
  }
  const auto offset = LineOffset(descriptor);
  return offset ? ReadLineAt(*offset, false, descriptor, line) : std::nullopt;
}

// A carriage return has been read.
void SkipPairedLineFeed(int descriptor) {
  const std::optional<int> peeked = PeekByte(descriptor);
  char next = 0;
  if (peeked && *peeked != '\n') return;
  if (ReadOnce(descriptor, &next, 1) == 1 && next != '\n') lseek(descriptor, -1, SEEK_CUR);
}

template <typename Line>
bool ReadLineByBytes(int descriptor, Line& line) {
  line.Restart();
  for (char next = 0; ReadOnce(descriptor, &next, 1) == 1;) {
    if (next == '\r') SkipPairedLineFeed(descriptor);
    if (IsLineBreak(next)) return true;
    line.Add(&next, 1);
  }
  return false;
}

template <typename Line>
bool ReadLineInto(int descriptor, Line& line) {
  if (descriptor == -1) return false;
  const std::optional<bool> hasEnd = ReadLineByBlocks(descriptor, line);
  return (hasEnd ? *hasEnd : ReadLineByBytes(descriptor, line)) || line.Length() > 0;
}

// On what can not seek the bytes are read away.
void SkipBytes(int descriptor, std::uint32_t count) {
  if (lseek(descriptor, count, SEEK_CUR) >= 0) return;
  char dropped[kFirstBlock];
  while (count > 0) {
    const ssize_t got = ReadOnce(descriptor, dropped, std::min<std::size_t>(count, sizeof dropped));
    if (got <= 0) return;
    count -= static_cast<std::uint32_t>(got);
  }
}

}  // namespace

bool LReadFileRef::ReadLine(char* buf, std::size_t size) {
  FixedLine line(buf, size);
  const bool isLine = ReadLineInto(descriptor_, line);
  if (size > 0) buf[line.Length()] = 0;
  return isLine;
}

bool LReadFileRef::ReadLine(LStringLongTemplate<char>& line) {
  line.SetLength(0);
  line.GrowToSize(260);
  GrowingLine growing(line);
  return ReadLineInto(descriptor_, growing);
}

void LReadFileRef::ReadStringLenUTF8(char* buf) {
  constexpr std::uint32_t kMostBytes = 259;
  unsigned char shortLength = 0;
  std::uint32_t length = 0;
  if (ReadOnce(descriptor_, &shortLength, 1) == 1) length = shortLength;
  if (length == 255 && ReadOnce(descriptor_, &length, sizeof length) != sizeof length) length = 0;
  const ssize_t got = ReadOnce(descriptor_, buf, std::min(length, kMostBytes));
  const auto stored = static_cast<std::uint32_t>(std::max<ssize_t>(got, 0));
  buf[stored] = 0;
  if (length > stored) SkipBytes(descriptor_, length - stored);
}

void LReadFileRef::ReadStringUTF8(char* buf, unsigned int len) {
  const ssize_t got = ReadOnce(descriptor_, buf, len);
  buf[std::max<ssize_t>(got, 0)] = 0;
}
