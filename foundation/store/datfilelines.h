// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_DATFILELINES_H
#define ZORVEX_FOUNDATION_STORE_DATFILELINES_H

#include <sys/types.h>

#include <cstddef>

/// The lines of a descriptor, from its offset to its end, as LReadFileRef::ReadLine reads them with
/// a buffer of 552 bytes: a line ends at CR, LF, CR LF or LF CR, a longer one than 551 bytes is
/// cut, and a NUL byte, which counts like any other, ends what is seen of its line. There are two
/// differences, which change nothing for dat files. The file is read in blocks, so that its offset
/// afterwards is not the end of the last line. And empty lines, which mean nothing, may be left out
/// or added, so that nobody need ask which line breaks make a pair.
class DatFileLines {
 public:
  static constexpr std::size_t kLongestLine = 551;

  /// The descriptor stays the caller's; -1 has no lines.
  explicit DatFileLines(int descriptor) : descriptor_(descriptor) {}
  DatFileLines(const DatFileLines&) = delete;
  DatFileLines& operator=(const DatFileLines&) = delete;

  /// Goes to the next line; false behind the last one.
  bool Next();

  /// The line, terminated, the caller's to change until the next call of Next.
  [[nodiscard]] char* Text() { return text_; }
  [[nodiscard]] std::size_t Length() const { return length_; }

  /// Whether the lines ended because the file could not be read on.
  [[nodiscard]] bool Failed() const { return failed_; }

  /// About how many lines there are still, going by those so far.
  [[nodiscard]] std::size_t EstimateRemaining();

 private:
  static constexpr std::size_t kBlock = 16384;

  bool Refill(std::size_t kept);
  void FindNul();
  void Take(char* end);

  const int descriptor_;
  bool failed_ = false;
  char* unread_ = buffer_;
  char* end_ = buffer_;
  char* nul_ = buffer_;  // the first NUL that is not before unread_, or end_
  char* text_ = buffer_;
  std::size_t length_ = 0;
  std::size_t lineCount_ = 0;
  off_t bytesRead_ = 0;
  char buffer_[kBlock + 1];  // one for the terminator of a last line
};

#endif  // ZORVEX_FOUNDATION_STORE_DATFILELINES_H
