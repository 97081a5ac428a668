// SPDX-License-Identifier: MIT
#include "foundation/system/xdgfolders.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "foundation/files/file.h"

namespace {

std::string Environment(const char* variable, const char* otherwise) {
  const char* const value = std::getenv(variable);
  return value == nullptr || *value == '\0' ? otherwise : value;
}

bool CanRun(const std::string& path) {
  return LFile::TestFileExists(path.c_str()) && access(path.c_str(), X_OK) == 0;
}

}  // namespace

std::vector<std::string> ListParts(std::string_view list) {
  std::vector<std::string> parts;
  while (!list.empty()) {
    const std::string_view part = list.substr(0, list.find(':'));
    if (!part.empty()) parts.emplace_back(part);
    list.remove_prefix(std::min(part.size() + 1, list.size()));
  }
  return parts;
}

std::vector<std::string> DataFolders() {
  std::string home = Environment("XDG_DATA_HOME", "");
  if (home.empty()) {
    char folder[260];
    LFile::GetUserFolder(folder);
    home = std::string(folder) + "/.local/share";
  }
  const std::string machine = Environment("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
  std::vector<std::string> folders = ListParts(home + ":" + machine);
  std::erase_if(folders, [](const std::string& folder) { return folder.front() != '/'; });
  return folders;
}

std::string FindProgram(const std::string& program) {
  if (program.find('/') != std::string::npos) return CanRun(program) ? program : std::string();
  if (program.empty()) return {};
  for (const std::string& folder : ListParts(Environment("PATH", "/usr/local/bin:/usr/bin:/bin"))) {
    std::string path = std::string(folder).append("/").append(program);
    if (CanRun(path)) return path;
  }
  return {};
}
