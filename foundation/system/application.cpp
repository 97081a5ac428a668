// SPDX-License-Identifier: MIT
#include "foundation/system/application.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"
#include "platform/application.h"

namespace {

constexpr std::size_t kLongestPath = 4096;  // that the kernel gives
constexpr char kResources[] = "Contents/Resources";

std::string_view FolderOf(std::string_view path) {
  const std::size_t separator = path.rfind('/');
  if (separator == std::string_view::npos) return {};
  return path.substr(0, std::max<std::size_t>(separator, 1));
}

bool Write(std::string_view text, char* dest) {
  CopyPath(dest, text);
  return !text.empty();
}

bool Write(std::string_view text, LStringLongTemplate<char>& dest) {
  dest.SetLength(0);
  dest.Append(text.data(), text.size());
  return !text.empty();
}

template <typename Dest>
bool GetApplicationPath(Dest& dest) {
  char path[kLongestPath];
  ReadProgramPath(path, sizeof path);
  return Write(path, dest);
}

template <typename Dest>
bool GetApplicationFolder(Dest& dest) {
  char path[kLongestPath];
  ReadProgramPath(path, sizeof path);
  return Write(FolderOf(path), dest);
}

template <typename Dest>
bool GetLibraryPath(Dest& dest) {
  char path[kLongestPath];
  ReadModulePath(kResources, path, sizeof path);
  return Write(path, dest);
}

}  // namespace

bool LApplicationGetPath(char* dest) {
  return GetApplicationPath(dest);
}

bool LApplicationGetPath(LStringLongTemplate<char>& dest) {
  return GetApplicationPath(dest);
}

bool LApplicationGetFolder(char* dest) {
  return GetApplicationFolder(dest);
}

bool LApplicationGetFolder(LStringLongTemplate<char>& dest) {
  return GetApplicationFolder(dest);
}

bool LApplicationGetResourceFolder(char* dest) {
  if (!LApplicationGetFolder(dest)) return false;
  LFile::_MakeFilePath(dest, dest, kResources, "");
  return true;
}

bool LApplicationGetResourceFolder(LStringLongTemplate<char>& dest) {
  if (!LApplicationGetFolder(dest)) return false;
  if (dest.Length() > 1) dest.Append('/');
  dest.Append(kResources);
  return true;
}

bool LLibraryGetPath(char* dest) {
  return GetLibraryPath(dest);
}

bool LLibraryGetPath(LStringLongTemplate<char>& dest) {
  return GetLibraryPath(dest);
}

const char* LLibraryGetVersion() {
  return ZORVEX_VERSION;
}

bool LSystemGetVersionText(char* dest) {
  return Write(ReadSystemName(), dest);
}

bool LSystemGetVersionText(LStringLongTemplate<char>& dest) {
  return Write(ReadSystemName(), dest);
}
