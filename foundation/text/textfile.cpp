// SPDX-License-Identifier: MIT
#include "foundation/text/textfile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstring>
#include <utility>

#include "foundation/files/descriptorio.h"
#include "foundation/files/fileattributes.h"
#include "foundation/files/flocktimed.h"
#include "foundation/text/charsets.h"
#include "foundation/text/unitlength.h"
#include "platform/uniquefd.h"

namespace {

using Text = LStringLongTemplate<char>;
using Units = LStringLongTemplate<unsigned short>;

constexpr unsigned int kLoadLockMs = 1000;
constexpr unsigned int kSaveLockMs = 500;  // shorter than a load's, as designed

constexpr unsigned short kMark = 0xFEFF;
constexpr unsigned short kSwappedMark = 0xFFFE;

// An advisory lock is taken as far as that is possible in time; the file is used in any case.
UniqueFd OpenWithLock(const char* path, int flags, int lock, unsigned int timeoutMs) {
  int descriptor = -1;
  do {
    descriptor = open(path, flags | O_CLOEXEC, 0666);
  } while (descriptor < 0 && errno == EINTR);
  UniqueFd file(descriptor);
  if (file) flocktimed(file.Get(), lock | LOCK_NB, timeoutMs);
  return file;
}

UniqueFd OpenToLoad(const char* path) {
  return OpenWithLock(path, O_RDONLY, LOCK_SH, kLoadLockMs);
}

UniqueFd OpenToSave(const char* path) {
  return OpenWithLock(path, O_RDWR | O_CREAT, LOCK_EX, kSaveLockMs);
}

std::size_t SizeOf(const UniqueFd& file) {
  struct stat status = {};
  return fstat(file.Get(), &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

// One read; what it does not give is zeros.
template <typename Unit>
void ReadUnits(const UniqueFd& file, LStringLongTemplate<Unit>& out, std::size_t count) {
  out.SetLength(0);  // nothing of it need be kept
  out.GrowToSize(count + 1);
  auto* const bytes = reinterpret_cast<char*>(out.Buffer());
  const ssize_t got = ReadOnce(file.Get(), bytes, count * sizeof(Unit));
  const std::size_t read = got > 0 ? static_cast<std::size_t>(got) : 0;
  std::memset(bytes + read, 0, count * sizeof(Unit) - read);
  out.SetLength(count);
}

void SwapUnits(unsigned short* units, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    units[i] = static_cast<unsigned short>(units[i] << 8 | units[i] >> 8);
}

bool LoadUnits(const char* path, Units& units) {
  const UniqueFd file = OpenToLoad(path);
  if (!file) return false;
  ReadUnits(file, units, SizeOf(file) / sizeof(unsigned short));
  if constexpr (std::endian::native == std::endian::big) SwapUnits(units.Buffer(), units.Length());
  return true;
}

// Units that may begin with a mark, which says whether the others are the wrong way round.
void ConvertBehindMark(Text& out, Units& units) {
  unsigned short* text = units.Buffer();
  if (units.Length() > 0 && text[0] == kSwappedMark) SwapUnits(text, units.Length());
  LCopyFromUnicode(out, text + (units.Length() > 0 && text[0] == kMark ? 1 : 0));
}

bool BeginsWith(const Text& text, const char* mark) {
  const std::size_t length = std::strlen(mark);
  return text.Length() >= length && std::memcmp(text.Text(), mark, length) == 0;
}

// An odd last byte counts as a unit with the zero that is put behind it.
void ConvertUnicodeBytes(Text& out, const Text& bytes) {
  Units units;
  const std::size_t count = (bytes.Length() + 1) / sizeof(unsigned short);
  units.GrowToSize(count + 1);
  units.Buffer()[count - 1] = 0;
  std::memcpy(units.Buffer(), bytes.Text(), bytes.Length());
  units.SetLength(count);
  if constexpr (std::endian::native == std::endian::big) SwapUnits(units.Buffer(), count);
  ConvertBehindMark(out, units);
}

bool WriteWhole(const UniqueFd& file, const void* bytes, std::size_t count) {
  return WriteOnce(file.Get(), bytes, count) == static_cast<ssize_t>(count);
}

// Pipes and devices have no content that would have to go, and no end to be moved to.
bool Empty(const UniqueFd& file) {
  return ftruncate(file.Get(), 0) == 0 || errno == EINVAL;
}

bool MoveToEnd(const UniqueFd& file) {
  return lseek(file.Get(), 0, SEEK_END) >= 0 || errno == ESPIPE;
}

enum class SaveMode { kReplace, kAppend };

bool Write(const char* path, const char* text, std::size_t length, SaveMode mode) {
  const UniqueFd file = OpenToSave(path);
  if (!file) return false;
  const bool isPlaced = mode == SaveMode::kReplace ? Empty(file) : MoveToEnd(file);
  const bool isWritten = WriteWhole(file, text, length);
  return isPlaced && isWritten;
}

// On purpose the mark decides, as soon as the file can have one, not the writing.
bool Save(const char* path, const char* text, std::size_t length, SaveMode mode) {
  const bool isWritten = Write(path, text, length, mode);
  const FileAttributeResult marked = MarkFileAsUtf8(path);
  if (marked == FileAttributeResult::kUnsupported) return isWritten;
  return marked == FileAttributeResult::kDone;
}

}  // namespace

bool LLoadText(const char* path, LStringLongTemplate<char>& out) {
  const UniqueFd file = OpenToLoad(path);
  if (file) ReadUnits(file, out, SizeOf(file));
  return static_cast<bool>(file);
}

bool LLoadTextAsUTF16(const char* path, LStringLongTemplate<char>& out) {
  Units units;
  if (!LoadUnits(path, units)) return false;
  LCopyFromUnicode(out, units.Text());
  return true;
}

bool LLoadTextUnicode(const char* path, LStringLongTemplate<char>& out) {
  Units units;
  if (!LoadUnits(path, units)) return false;
  ConvertBehindMark(out, units);
  return true;
}

bool LLoadTextAutoChar(const char* path, LStringLongTemplate<char>& out) {
  constexpr char utf8Mark[] = "\xEF\xBB\xBF";
  constexpr std::size_t utf8MarkLength = sizeof utf8Mark - 1;
  Text text;
  if (!LLoadText(path, text)) return false;
  if (BeginsWith(text, "\xFF\xFE") || BeginsWith(text, "\xFE\xFF")) {
    ConvertUnicodeBytes(out, text);
    return true;
  }
  if (BeginsWith(text, utf8Mark)) {
    const std::size_t length = text.Length() - utf8MarkLength;
    std::memmove(text.Buffer(), text.Text() + utf8MarkLength, length);
    text.SetLength(length);
  }
  out = std::move(text);
  return true;
}

bool LSaveText(const char* path, const char* text) {
  return Save(path, text, std::strlen(text), SaveMode::kReplace);
}

bool LSaveText(const char* path, const LStringLongTemplate<char>& text) {
  return Save(path, text.Text(), text.Length(), SaveMode::kReplace);
}

bool LSaveAppendText(const char* path, const char* text) {
  return Save(path, text, std::strlen(text), SaveMode::kAppend);
}

bool LSaveAppendText(const char* path, const LStringLongTemplate<char>& text) {
  return Save(path, text.Text(), text.Length(), SaveMode::kAppend);
}

bool LSaveTextAsUnicodeBOM(const char* path, const LStringLongTemplate<char>& text) {
  const UniqueFd file = OpenToSave(path);
  if (!file) return false;
  Units units;
  const std::size_t size = std::strlen(text.Text()) + 1;
  units.GrowToSize(1 + size);
  units.Buffer()[0] = kMark;
  LCopyUnicodeFromUTF8(units.Buffer() + 1, text.Text(), size);
  Empty(file);  // neither failure is told
  WriteWhole(file, units.Buffer(), LengthUpTo(units.Text(), kNoLimit) * sizeof(unsigned short));
  return true;
}
