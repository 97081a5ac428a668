// SPDX-License-Identifier: MIT
// Whatever a file has, its text is what a simple model makes of it; what is saved is loaded again.
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "foundation/text/charsets.h"
#include "foundation/text/textfile.h"
#include "platform/uniquefd.h"

namespace {

using Long = LStringLongTemplate<char>;

void Require(bool condition) {
  if (!condition) std::abort();
}

std::string FileContent(const UniqueFd& file) {
  std::string content(static_cast<std::size_t>(lseek(file.Get(), 0, SEEK_END)), 0);
  Require(pread(file.Get(), content.data(), content.size(), 0) ==
          static_cast<ssize_t>(content.size()));
  return content;
}

std::string Content(const Long& text) {
  return {text.Text(), text.Length()};
}

/// UTF-16 from some byte on, up to a unit of 0.
std::string ModelUtf16(const std::string& bytes, std::size_t place, bool isBigEndian) {
  std::basic_string<unsigned short> units;
  for (; place + 1 < bytes.size(); place += 2) {
    const unsigned int first = static_cast<unsigned char>(bytes[place]);
    const unsigned int second = static_cast<unsigned char>(bytes[place + 1]);
    const unsigned int unit = isBigEndian ? first << 8 | second : second << 8 | first;
    if (unit == 0) break;
    units += static_cast<unsigned short>(unit);
  }
  Long text;
  LCopyFromUnicode(text, units.c_str());
  return text.Text();
}

void CheckLoading(const char* path, const std::string& bytes) {
  const bool isLittle = bytes.compare(0, 2, "\xFF\xFE") == 0;
  const bool isBig = bytes.compare(0, 2, "\xFE\xFF") == 0;
  const std::size_t mark = isLittle || isBig ? 2 : 0;
  Long text;
  Require(LLoadText(path, text) && Content(text) == bytes);
  Require(LLoadTextAsUTF16(path, text) && Content(text) == ModelUtf16(bytes, 0, false));
  Require(LLoadTextUnicode(path, text) && Content(text) == ModelUtf16(bytes, mark, isBig));
  Require(LLoadTextAutoChar(path, text));
  if (mark != 0)
    Require(Content(text) == ModelUtf16(bytes + '\0', mark, isBig));
  else
    Require(Content(text) == bytes.substr(bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0));
}

void CheckSaving(const UniqueFd& file, const char* path, const std::string& bytes) {
  Long text;
  text.Append(bytes.data(), bytes.size());
  LSaveText(path, text);
  Require(FileContent(file) == bytes);
  LSaveAppendText(path, bytes.c_str());
  Require(FileContent(file) == bytes + bytes.c_str());
  Require(LSaveTextAsUnicodeBOM(path, text));
  LStringLongTemplate<unsigned short> units;
  LCopyUnicodeFromUTF8(units, bytes.c_str());
  Require(FileContent(file) == "\xFF\xFE" + std::string(reinterpret_cast<const char*>(units.Text()),
                                                        2 * units.Length()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const UniqueFd file(memfd_create("text", MFD_CLOEXEC));
  Require(write(file.Get(), data, size) == static_cast<ssize_t>(size));
  const std::string path = "/proc/self/fd/" + std::to_string(file.Get());
  CheckLoading(path.c_str(), bytes);
  CheckSaving(file, path.c_str(), bytes);
  return 0;
}
