// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_BUFFEREDREADER_H
#define ZORVEX_FOUNDATION_FILES_BUFFEREDREADER_H

#include <cstddef>
#include <cstdint>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/files/filereader.h>

/// Reads through a buffer of 8192 bytes of its own from a descriptor that somebody else opened and
/// closes; -1 reads as an empty file. Allocates nothing.
///
/// The offset of the descriptor stands at the end of what is buffered: ahead of Tell64() by what
/// was read and not yet handed out. Who uses the descriptor otherwise in between seeks first, which
/// empties the buffer; data that changed in the file is seen once it is read again.
///
/// A read error looks like the end of the file. Calls that signal handlers interrupt are made
/// again. One thread at a time.
class ZORVEX_API LReadFileBuffered {
 public:
  explicit LReadFileBuffered(int descriptor = -1) : descriptor_(descriptor) {}
  explicit LReadFileBuffered(LReadFileRef file) : descriptor_(file.Descriptor()) {}
  [[nodiscard]] int Descriptor() const { return descriptor_; }

  /// Up to `n` bytes, and how many. When the buffer is empty and 257 bytes or more are still
  /// wanted, they are read past the buffer with one read, and whatever that gives ends the call:
  /// less than `n` does not mean the end of the file on a pipe or socket.
  std::size_t Read(void* dest, std::size_t n);

  /// Up to `n` of the bytes that come next, and how many; they stay unread. Makes one read at most.
  /// What can not seek gives at most 8192 bytes.
  std::size_t Peek(void* dest, std::size_t n);

  /// One line, without its end, into a buffer of `size` bytes with the terminator. A line ends at a
  /// line feed, or at a carriage return with the line feed after it, if there is one; a carriage
  /// return after a line feed ends an empty line of its own. What does not fit is dropped, the line
  /// is read to its end. True when there was a line; a last one without an end counts when
  /// something of it was stored. `size` 0 stores nothing at all.
  bool ReadLine(char* buf, std::size_t size);

  /// Absolute, in bytes. The buffer is emptied. False when the descriptor can not seek there; then
  /// nothing has changed.
  bool Seek(unsigned int position);
  /// The same for positions beyond 4 GB.
  bool Seek64(unsigned long long position);
  /// By `distance` bytes from Tell64(), else as above.
  bool SeekOffset64(long long distance);

  /// Where in the file the next byte comes from; 0 when the descriptor has no offset.
  [[nodiscard]] unsigned long long Tell64() const;
  /// 0 when it is not known.
  [[nodiscard]] unsigned long long GetFileSizeBytes64() const;

 private:
  ZORVEX_HIDDEN static constexpr std::size_t kBufferSize = 8192;
  static constexpr std::size_t kLeastUnbuffered = 257;

  ZORVEX_HIDDEN std::size_t Unread() const { return static_cast<std::size_t>(count_ - position_); }
  ZORVEX_HIDDEN std::size_t TakeBuffered(void* dest, std::size_t n);
  ZORVEX_HIDDEN bool Refill();
  ZORVEX_HIDDEN std::size_t PeekIntoBuffer(char* dest, std::size_t n);
  ZORVEX_HIDDEN std::size_t PeekPastBuffer(char* dest, std::size_t n);
  ZORVEX_HIDDEN bool MoveDescriptor(long long offset, int from);

  int descriptor_;
  char buffer_[kBufferSize];  // not set at first: only what was read is ever looked at
  std::uint64_t position_ = 0;
  std::uint64_t count_ = 0;
};

#endif  // ZORVEX_FOUNDATION_FILES_BUFFEREDREADER_H
