// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FILEWRITER_H
#define ZORVEX_FOUNDATION_FILES_FILEWRITER_H

#include <zorvex/foundation/export.h>

/// Writes to a descriptor that somebody else opened and closes; -1 takes nothing. Passed by value.
///
/// Nothing is buffered: each text is one write, which may take less than all of it, as on a full
/// disk or a signal in the middle. What does not go out in one is not tried again. A write that a
/// signal handler interrupts before it wrote anything is.
///
/// A pipe whose reader is gone raises SIGPIPE as with write(2), but not the pipes that LPipeOut,
/// LPipeInOut and OpenPipe made, nor descriptors from 1024 on: there the write just fails. No text
/// may be null.
class ZORVEX_API LWriteFileRef {
 public:
  LWriteFileRef(int descriptor = -1) : descriptor_(descriptor) {}
  [[nodiscard]] int Descriptor() const { return descriptor_; }

  /// True when all was written. With -1, true for an empty text only.
  bool WriteString(const char* text);

  /// The text and its line break go out in one write, so that the lines of several processes that
  /// append to one file stay whole.
  void WriteLineCRLF(const char* text);
  /// The same with a line feed alone behind it.
  void WriteLineLF(const char* text);

  /// What LReadFileRef::ReadStringLenUTF8 reads: one byte with the length of the text in bytes if
  /// that is below 255, else the byte 255 and the length as 4 bytes in the order of this machine;
  /// then the text without its terminator. Gives the result of the last write that was made: the
  /// length of the text when all went out. When the length could not be written, the text is not.
  /// -1 is a failure with the reason in `errno`; a descriptor of -1 gives 0.
  long WriteStringLenUTF8(const char* text);

  /// The bytes of the text alone. The result is that of the write, as above.
  long WriteStringUTF8(const char* text);

 private:
  int descriptor_;
};

/// Formats as ::sprintf into a string does and writes the whole with one write. Gives the length of
/// the formatted text in bytes, whether or not it could be written. Throws std::bad_alloc when
/// there is no memory for the text.
ZORVEX_API int fprintf(LWriteFileRef file, const char* format, ...);

#endif  // ZORVEX_FOUNDATION_FILES_FILEWRITER_H
