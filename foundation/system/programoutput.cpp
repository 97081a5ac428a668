// SPDX-License-Identifier: MIT
#include "foundation/system/programoutput.h"

#include <algorithm>
#include <cerrno>

#include "foundation/files/descriptorio.h"

namespace {

// Less room than this is not worth a read.
constexpr std::uint64_t kLeastRoom = 4096;

}  // namespace

bool ProgramOutput::Open(LStringLongTemplate<char>& text, std::uint64_t limit) {
  text_ = &text;
  limit_ = limit;
  return pipe_.Open();
}

void ProgramOutput::Read() {
  std::size_t taken = 0;
  while (!IsAtEnd() && taken < kPipeCapacity) {
    const std::size_t count = text_->Length() < limit_ ? Append() : Drop();
    if (count == 0) return;
    taken += count;
  }
}

std::size_t ProgramOutput::Append() {
  const std::uint64_t length = text_->Length();
  const std::uint64_t wanted = std::min(limit_ - length, kLeastRoom);
  // Twice as much each time, so that long outputs take linear time, but never more than the limit.
  if (text_->Capacity() < length + wanted + 1)
    text_->GrowToSize(std::min((length + kLeastRoom) * 2, limit_) + 1);
  const std::uint64_t room = std::min(text_->Capacity() - 1, limit_) - length;
  const std::size_t count = Take(text_->Buffer() + length, room);
  text_->SetLength(length + count);
  return count;
}

std::size_t ProgramOutput::Drop() {
  char dropped[16384];
  return Take(dropped, sizeof dropped);
}

/// What one read gave; 0 when there is nothing now, or never again.
std::size_t ProgramOutput::Take(char* dest, std::size_t room) {
  const ssize_t count = ReadOnce(pipe_.read.Get(), dest, room);
  if (count > 0) return static_cast<std::size_t>(count);
  if (count == 0 || errno != EAGAIN) pipe_.read = UniqueFd();
  return 0;
}
