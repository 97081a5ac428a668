// SPDX-License-Identifier: MIT
#include "platform/application.h"

#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>

namespace {

constexpr std::string_view kDeleted = " (deleted)";

/// What the kernel calls a file, without what it says of one that is gone; such words may just as
/// well be the end of the name of a file that is there.
std::string_view PathOf(const char* text, std::size_t length) {
  std::string_view path(text, length);
  struct stat status = {};
  if (path.ends_with(kDeleted) && lstat(text, &status) != 0) path.remove_suffix(kDeleted.size());
  return path;
}

bool CopyPath(std::string_view path, char* dest, std::size_t size) {
  const std::size_t length = path.starts_with('/') ? std::min(path.size(), size - 1) : 0;
  path.copy(dest, length);
  dest[length] = '\0';
  return length != 0;
}

/// The text behind `NAME=` with its quotes and backslashes taken away.
std::string ValueIn(std::istream& assignments, std::string_view name) {
  std::string line;
  while (std::getline(assignments, line)) {
    if (!line.starts_with(name) || line.compare(name.size(), 1, "=") != 0) continue;
    std::string value;
    for (std::size_t i = name.size() + 1; i < line.size(); ++i) {
      if (line[i] == '\\' && i + 1 < line.size()) {
        value += line[++i];
      } else if (line[i] != '"' && line[i] != '\'') {
        value += line[i];
      }
    }
    return value;
  }
  return {};
}

}  // namespace

bool ReadProgramPath(char* dest, std::size_t size) {
  char text[4096 + kDeleted.size()];
  const ssize_t length = readlink("/proc/self/exe", text, sizeof text - 1);
  const std::size_t known = length > 0 ? static_cast<std::size_t>(length) : 0;
  text[known] = '\0';
  return CopyPath(PathOf(text, known), dest, size);
}

// The loader's own answer (dladdr) may be relative to a folder that has been left since.
bool ReadModulePath(const void* address, char* dest, std::size_t size) {
  const auto place = reinterpret_cast<std::uintptr_t>(address);
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line)) {
    char* rest = nullptr;
    const std::uintptr_t begin = std::strtoull(line.c_str(), &rest, 16);
    const std::uintptr_t end = *rest == '-' ? std::strtoull(rest + 1, nullptr, 16) : 0;
    if (place < begin || place >= end) continue;
    const char* const path = std::strchr(line.c_str(), '/');
    if (path == nullptr) break;
    return CopyPath(PathOf(path, std::strlen(path)), dest, size);
  }
  return CopyPath({}, dest, size);
}

std::string ReadSystemName() {
  std::string name;
  for (const char* const path : {"/etc/os-release", "/usr/lib/os-release"}) {
    std::ifstream release(path);
    if (name.empty()) name = ValueIn(release, "PRETTY_NAME");
  }
  utsname kernel = {};
  if (uname(&kernel) != 0) return name;
  return name + (name.empty() ? "" : ", ") + kernel.sysname + " " + kernel.release;
}
