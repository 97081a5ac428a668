// SPDX-License-Identifier: MIT
#include "foundation/files/fileattributes.h"

#include <cstring>

#include "foundation/files/file.h"

FileAttributeResult MarkFileAsUtf8(const char* path) {
  // What text editors look for: the name and the number of the encoding.
  constexpr char value[] = "utf-8;134217984";
  return SetFileAttribute(path, "com.apple.TextEncoding", value, std::strlen(value));
}

bool LFile::SetFileAttributeTextEncodingUTF8(const char* path) {
  return MarkFileAsUtf8(path) == FileAttributeResult::kDone;
}

bool LFile::RemoveFileAttributeQuarantine(const char* path) {
  return RemoveFileAttribute(path, "com.apple.quarantine") == FileAttributeResult::kDone;
}
