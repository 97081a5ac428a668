// SPDX-License-Identifier: MIT
#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"

namespace {

bool IsSameCharacter(char a, char b) {
  return a == b || (IsSeparator(a) && IsSeparator(b));
}

/// How many first characters two texts have in common, both separators taken for one.
std::size_t CommonLength(std::string_view a, std::string_view b) {
  return static_cast<std::size_t>(
      std::mismatch(a.begin(), a.end(), b.begin(), b.end(), IsSameCharacter).first - a.begin());
}

std::string_view WithoutLeadingSeparator(std::string_view path) {
  if (!path.empty() && IsSeparator(path[0])) path.remove_prefix(1);
  return path;
}

std::string_view WithoutTrailingSeparator(std::string_view path) {
  if (!path.empty() && IsSeparator(path.back())) path.remove_suffix(1);
  return path;
}

bool IsAbsolute(std::string_view path) {
  const std::size_t mark = path.find_first_of("/\\:");
  return mark == 0 || (mark != std::string_view::npos && path[mark] == ':');
}

bool SkipComponent(std::string_view& path, std::string_view component) {
  const std::size_t length = component.size();
  if (!path.starts_with(component) || path.size() == length || !IsSeparator(path[length])) {
    return false;
  }
  path.remove_prefix(length + 1);
  return true;
}

/// Removes the last component, also of a folder that ends with separators.
void RemoveLastComponent(char* folder) {
  std::size_t length = std::strlen(folder);
  while (length > 1 && IsSeparator(folder[length - 1])) {
    --length;
  }
  folder[length] = '\0';
  LFile::_GetFolderFromPath(folder, folder);
}

}  // namespace

void LFile::MakeAbsoluteFilePath(char* dest, const char* baseFolder, const char* path,
                                 const char* ext) {
  std::string_view rest = path;
  if (IsAbsolute(rest)) {
    _MakeFilePath(dest, "", path, ext);
    return;
  }
  char folder[kPathSize];
  CopyPath(folder, FirstOf(baseFolder, kMaxPathLength));
  for (;;) {
    if (SkipComponent(rest, "..")) {
      RemoveLastComponent(folder);
    } else if (!SkipComponent(rest, ".")) {
      break;
    }
  }
  _MakeFilePath(dest, folder, rest.data(), ext);
}

void LFile::MakeRelativeFolder(char* dest, const char* fromFolder, const char* to) {
  const std::string_view target = to;
  const std::string_view from = WithoutTrailingSeparator(fromFolder);
  std::size_t common = CommonLength(from, target);
  // The separator at the end of the folder, whether it was given or not.
  std::size_t above = 1;
  if (common == from.size() && common < target.size() && IsSeparator(target[common])) {
    ++common;
    above = 0;
  }
  PathText path;
  for (const char c : from.substr(std::min(common, from.size()))) {
    if (IsSeparator(c)) ++above;
  }
  for (; above > 0 && path.Room() > 0; --above)
    path.Append("../");
  path.Append(WithoutLeadingSeparator(target.substr(common)));
  path.CopyTo(dest);
}

void LFile::MakeRelativeFilePath(char* dest, const char* fromFolder, const char* to) {
  MakeRelativeFolder(dest, fromFolder, to);
}

bool LFile::GetRelativePathFromAbsolutePath(char* dest, const char* base, const char* path) {
  const std::string_view whole = path;
  const std::string_view folder = WithoutTrailingSeparator(base);
  const std::size_t common = CommonLength(folder, whole);
  const std::string_view rest = whole.substr(common);
  const bool isBelow = common == folder.size() && (rest.empty() || IsSeparator(rest[0]));
  CopyPath(dest, isBelow ? WithoutLeadingSeparator(rest) : "");
  return isBelow;
}

void LFile::CompactFilePath(char* dest, const char* path, std::size_t n) {
  constexpr std::string_view kDots = "...";
  const std::string_view text = path;
  if (text.size() < n) {
    CopyPath(dest, text);
    return;
  }
  if (n < 5) {
    CopyPath(dest, kDots.substr(0, n > 0 ? n - 1 : 0));
    return;
  }
  const std::size_t kept = std::min(n, kPathSize) - 4;
  PathText compact;
  compact.Append(text.substr(0, kept - kept / 2));
  compact.Append(kDots);
  compact.Append(text.substr(text.size() - kept / 2));
  compact.CopyTo(dest);
}
