// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_PROGRAMOUTPUT_H
#define ZORVEX_FOUNDATION_SYSTEM_PROGRAMOUTPUT_H

#include <cstddef>
#include <cstdint>

#include "foundation/system/childpipe.h"
#include "foundation/text/stringlong.h"
#include "foundation/threads/signalobject.h"

/// What a child writes on one pipe, gathered in a string of the caller's.
class ProgramOutput {
 public:
  /// As much as a pipe can hold without special leave.
  static constexpr std::size_t kPipeCapacity = std::size_t{1024} * 1024;

  /// For a program that is not started yet. Its output is appended to `text` until that has `limit`
  /// bytes; the rest is read and dropped. False when there are no descriptors left.
  bool Open(LStringLongTemplate<char>& text, std::uint64_t limit);

  /// The child's end, which is to be closed here when the child has it.
  [[nodiscard]] int WriteDescriptor() const { return pipe_.write.Get(); }
  void CloseWriteEnd() { pipe_.write = UniqueFd(); }

  /// Takes what is there, without waiting. All that was written before the call is taken, and not
  /// without end from a child that goes on writing. Throws std::bad_alloc.
  void Read();

  /// Whether the end was read: nobody has the pipe open for writing any more.
  [[nodiscard]] bool IsAtEnd() const { return !pipe_.read; }

  /// Set when there is something to be read, or the end.
  [[nodiscard]] LSignalObjectRef Readable() const { return {pipe_.read.Get(), -1}; }

 private:
  std::size_t Append();
  std::size_t Drop();
  std::size_t Take(char* dest, std::size_t room);

  ChildPipe pipe_;
  LStringLongTemplate<char>* text_ = nullptr;
  std::uint64_t limit_ = 0;
};

#endif  // ZORVEX_FOUNDATION_SYSTEM_PROGRAMOUTPUT_H
