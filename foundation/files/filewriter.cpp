// SPDX-License-Identifier: MIT
#include "foundation/files/filewriter.h"

#include <cstdint>
#include <cstring>

#include "foundation/files/descriptorio.h"

namespace {

void WriteLine(int descriptor, const char* text, const char* lineBreak) {
  const iovec parts[] = {{const_cast<char*>(text), std::strlen(text)},
                         {const_cast<char*>(lineBreak), std::strlen(lineBreak)}};
  WritePartsOnce(descriptor, parts, 2);
}

}  // namespace

bool LWriteFileRef::WriteString(const char* text) {
  const std::size_t length = std::strlen(text);
  return WriteOnce(descriptor_, text, length) == static_cast<ssize_t>(length);
}

void LWriteFileRef::WriteLineCRLF(const char* text) {
  WriteLine(descriptor_, text, "\r\n");
}

void LWriteFileRef::WriteLineLF(const char* text) {
  WriteLine(descriptor_, text, "\n");
}

long LWriteFileRef::WriteStringLenUTF8(const char* text) {
  const std::size_t length = std::strlen(text);
  unsigned char prefix[5] = {static_cast<unsigned char>(length < 255 ? length : 255)};
  const auto longLength = static_cast<std::uint32_t>(length);
  std::memcpy(prefix + 1, &longLength, sizeof longLength);
  const ssize_t prefixSize = length < 255 ? 1 : 5;
  const ssize_t written = WriteOnce(descriptor_, prefix, static_cast<std::size_t>(prefixSize));
  // A text without its length would be read as something else.
  if (written != prefixSize) return written;
  return WriteOnce(descriptor_, text, length);
}

long LWriteFileRef::WriteStringUTF8(const char* text) {
  return WriteOnce(descriptor_, text, std::strlen(text));
}
