// SPDX-License-Identifier: MIT
#include "platform/volumes.h"

#include <strings.h>

#include <charconv>
#include <initializer_list>

#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"

namespace {

bool IsOneOf(const char* name, std::initializer_list<const char*> names) {
  return std::ranges::any_of(names,
                             [&](const char* other) { return strcasecmp(name, other) == 0; });
}

/// Not of the language in use: a drive is named by a letter of the first alphabet.
bool IsLetterOrDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

}  // namespace

void LFile::GetSizeFormattedBytes(unsigned long long n, char* dest) {
  struct Unit {
    unsigned int shift;
    const char* name;
  };
  // Of the largest unit that there is a whole one of.
  constexpr Unit kUnits[] = {{40, " TB"}, {30, " GB"}, {20, " MB"}, {10, " KB"}, {0, " Bytes"}};
  const Unit* unit = kUnits;
  while (unit->shift > 0 && n >> unit->shift == 0)
    ++unit;
  char digits[24];
  const char* const end = std::to_chars(digits, digits + sizeof digits, n >> unit->shift).ptr;
  PathText text;
  text.Append({digits, static_cast<std::size_t>(end - digits)});
  text.Append(unit->name);
  text.CopyTo(dest);
}

int LFile::GetVolumeFileSizeLimit(const char* path) {
  Volume volume;
  if (!ReadVolume(path, volume)) return 2;
  // In either case of the letters, as the platforms write them.
  if (IsOneOf(volume.typeName, {"FAT16", "FAT12", "FAT"})) return 0;
  return IsOneOf(volume.typeName, {"FAT32", "FAT16B"}) ? 1 : 2;
}

void LFile::GetHumanReadableDriveFromPath(char* dest, const char* path) {
  Volume volume;
  if (ReadVolume(path, volume) && *volume.mountPoint != '\0') {
    CopyPath(dest, volume.mountPoint);
    return;
  }
  PathText drive;
  for (; IsLetterOrDigit(*path); ++path)
    drive.Append(*path);
  if (!drive.Text().empty()) {
    drive.Append(":\\");
  } else if (*path == '/') {
    drive.Append('/');
  }
  drive.CopyTo(dest);
}
