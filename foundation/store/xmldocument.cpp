// SPDX-License-Identifier: MIT
#include "foundation/store/xmldocument.h"

#include <sys/stat.h>

#include <cstdio>

#include "foundation/files/file.h"
#include "foundation/system/memory.h"
#include "foundation/text/textfile.h"

namespace {

enum : int { kLoaded = 0, kStopped = 1, kNotLoaded = 2 };

constexpr std::size_t kMessageSize = 260;

/// What a tree needs at most, and the text with it, as a multiple of the file's size.
constexpr unsigned long long kSizeFactor = 20;

int Fail(char* error, const char* format, const char* path) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(error, kMessageSize, format, path);
#pragma GCC diagnostic pop
  return kNotLoaded;
}

unsigned long long SizeOf(const char* path) {
  struct stat status = {};
  return stat(path, &status) == 0 ? static_cast<unsigned long long>(status.st_size) : 0;
}

bool IsMemoryFor(unsigned long long size) {
  unsigned long long needed = 0;
  return !__builtin_mul_overflow(size, kSizeFactor, &needed) && needed < LMemoryGetFreeHeapSize();
}

}  // namespace

int LXMLDocument::LoadFromFile(LProcessInterface& progress, const char* path, char* error) {
  *error = 0;
  if (!LFile::TestFileExists(path)) return Fail(error, "File does not exist: %s", path);
  if (!IsMemoryFor(SizeOf(path)))
    return Fail(error, "Not enough memory available to load %s", path);
  if (progress.IsToStop()) return kStopped;
  LStringLongTemplate<char> text;
  if (!LLoadTextAutoChar(path, text)) return Fail(error, "Cannot open xml file: %s", path);
  if (progress.IsToStop()) return kStopped;
  LXMLLoaderTemplate<char> loader{text.Text(), error, 0, 1, 1, &progress};
  LoadData(loader);
  return progress.IsToStop() ? kStopped : kLoaded;
}
