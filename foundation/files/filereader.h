// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FILEREADER_H
#define ZORVEX_FOUNDATION_FILES_FILEREADER_H

#include <cstddef>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// Reads from a descriptor that somebody else opened and closes; -1 reads as an empty file. Passed
/// by value. Nothing is buffered between calls: the offset of the descriptor always stands where
/// the next call goes on.
///
/// A read error looks like the end of the file. Calls that signal handlers interrupt are made
/// again. Several threads may read from different descriptors, not from one.
class ZORVEX_API LReadFileRef {
 public:
  LReadFileRef(int descriptor = -1) : descriptor_(descriptor) {}
  [[nodiscard]] int Descriptor() const { return descriptor_; }

  /// Reads one line, without its end, into a buffer of `size` bytes with the terminator. CR LF, LF
  /// CR, CR and LF each end one line. What does not fit is dropped, the line is read to its end.
  ///
  /// True when there was a line; a last one without an end counts when something of it was stored.
  /// `size` 0 stores nothing at all.
  ///
  /// A pipe, socket or terminal is read byte by byte, and a line feed ends the line there without a
  /// look at what comes next, which may not be written before the line was answered. After a
  /// carriage return the next byte is waited for; a terminal loses that byte when it is no line
  /// feed. LReadFileBuffered does all this with far fewer system calls.
  bool ReadLine(char* buf, std::size_t size);

  /// The same for lines of any length: the string gets room for 260 characters first and is then
  /// grown by a factor of four. Throws std::bad_alloc when it can not grow.
  bool ReadLine(LStringLongTemplate<char>& line);

  /// Reads what LWriteFileRef::WriteStringLenUTF8 wrote, into a buffer of 260 bytes. Of a longer
  /// text the first 259 bytes; the next call reads the next text all the same. The empty text when
  /// there is nothing to read.
  void ReadStringLenUTF8(char* buf);

  /// Reads up to `len` bytes, in one read, and terminates them: `buf` needs room for `len` + 1.
  void ReadStringUTF8(char* buf, unsigned int len);

 private:
  int descriptor_;
};

#endif  // ZORVEX_FOUNDATION_FILES_FILEREADER_H
