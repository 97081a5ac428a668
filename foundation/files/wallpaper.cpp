// SPDX-License-Identifier: MIT
#include "foundation/files/wallpaper.h"

#include <cstdio>

#include "foundation/files/file.h"
#include "foundation/system/shell.h"

namespace {

/// Of versions above 10.8: the desktop keeps a database, in which the path stands in `'` within
/// `"`.
constexpr char kDatabaseFormat[] =
    R"(sqlite3 ~/Library/Application\ Support/Dock/desktoppicture.db )"
    R"("update data set value = '%s'")";
/// Of those before: a setting, in which the path stands in `"` within `'`.
constexpr char kSettingFormat[] =
    R"(defaults write com.apple.desktop Background '{default = {ImageFilePath = "%s"; };}')";

bool HasDatabase(const SystemVersion& version) {
  return version.major > 10 || (version.major == 10 && version.minor > 8);
}

/// Behind LFile::EscapeFilePath, which is for `"` and back quotes alone.
bool IsQuotable(char c) {
  const bool isControl = static_cast<unsigned char>(c) < 32 || c == 127;
  return !isControl && c != '\'' && c != '$' && c != '\\';
}

/// False for what is cut by it.
bool Escape(const char* path, char* dest) {
  LFile::EscapeFilePath(path, dest);
  std::size_t length = 0;
  for (; *path != '\0'; ++path) {
    if (!IsQuotable(*path)) return false;
    length += *path == '"' || *path == '`' ? 2 : 1;
  }
  return length == std::strlen(dest);
}

}  // namespace

bool FormWallpaperCommand(char (&command)[kPathSize], const SystemVersion& version,
                          const char* imagePath) {
  char path[kPathSize];
  if (Escape(imagePath, path)) {
    const int length = HasDatabase(version)
                           ? std::snprintf(command, sizeof command, kDatabaseFormat, path)
                           : std::snprintf(command, sizeof command, kSettingFormat, path);
    if (length > 0 && static_cast<std::size_t>(length) < sizeof command) return true;
  }
  *command = '\0';
  return false;
}

bool LFile::SetDesktopWallpaper(const char* imagePath) {
  if (!TestFileExists(imagePath)) return false;
  static const SystemVersion version = ReadSystemVersion();
  char command[kPathSize];
  return FormWallpaperCommand(command, version, imagePath) && LRunShellCommand(command);
}
