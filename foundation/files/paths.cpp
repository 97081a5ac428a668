// SPDX-License-Identifier: MIT
#include <charconv>

#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"

namespace {

/// What _MakeFilePathSecure looks at of each part.
constexpr std::size_t kSecuredLength = kMaxPathLength - 1;

/// The text from `start` on, as far as its part was looked at, and beyond that as far as nothing in
/// it leads elsewhere.
std::string_view SecureText(std::string_view part, std::size_t start, std::string_view harmful) {
  const std::size_t end = std::min(part.find_first_of(harmful, kSecuredLength), part.size());
  return start < end ? part.substr(start, end - start) : std::string_view();
}

std::string_view SecureFolder(std::string_view folder) {
  const std::size_t dot = folder.substr(0, kSecuredLength).rfind('.');
  std::size_t start = dot == std::string_view::npos ? 0 : dot + 1;
  if (start > 0 && start < folder.size() && IsSeparator(folder[start])) ++start;
  return SecureText(folder, start, ".");
}

std::string_view SecureName(std::string_view name) {
  return SecureText(name, FilePartOf(name.substr(0, kSecuredLength)), kSeparators);
}

std::string_view SecureExtension(std::string_view ext) {
  const std::size_t mark = ext.substr(0, kSecuredLength).find_last_of("./\\");
  if (mark == std::string_view::npos) return SecureText(ext, 0, kSeparators);
  return SecureText(ext, ext[mark] == '.' ? mark : mark + 1, kSeparators);
}

/// "folder/name_0.ext". The name gives way so that its number stays whole; false when there is no
/// room for that.
bool MakeNumberedFilePath(char* dest, const char* folder, const char* name, unsigned int number,
                          const char* ext) {
  char mark[16] = "_";
  const char* const markEnd = std::to_chars(mark + 1, mark + sizeof mark, number).ptr;
  const std::string_view marked(mark, static_cast<std::size_t>(markEnd - mark));
  PathText path;
  path.AppendFolder(folder);
  if (path.Room() < marked.size()) return false;
  path.Append(FirstOf(name, path.Room() - marked.size()));
  path.Append(marked);
  path.Append(ext);
  path.CopyTo(dest);
  return true;
}

}  // namespace

void LFile::_GetFolderFromPath(char* dest, const char* path) {
  const std::string_view text = FirstOf(path, kMaxPathLength);
  const std::size_t file = FilePartOf(text);
  if (file > 1) {
    CopyPath(dest, text.substr(0, file - 1));
  } else {
    CopyPath(dest, text.starts_with('/') ? "/" : "");
  }
}

void LFile::_GetBaseFolderFromPath(char* dest, const char* path) {
  const std::string_view text = FirstOf(path, kMaxPathLength);
  std::size_t length = std::min(text.find_first_of(kSeparators, 2), text.size());
  if (length == 2 && text.size() == 2 && IsSeparator(text[1])) length = 1;
  CopyPath(dest, text.substr(0, length));
}

void LFile::_GetFileFromPath(char* dest, const char* path) {
  const std::string_view text = path;
  CopyPath(dest, text.substr(FilePartOf(text)));
}

void LFile::_GetFileNameFromPath(char* dest, const char* path) {
  const std::string_view text = path;
  const std::string_view file = text.substr(FilePartOf(text), kMaxPathLength);
  const std::size_t dot = file.rfind('.');
  CopyPath(dest, dot == 0 ? file : file.substr(0, dot));
}

void LFile::_GetFileExtensionFromPath(char* dest, const char* path) {
  const std::string_view text = path;
  const std::string_view file = text.substr(FilePartOf(text));
  CopyPath(dest, file.substr(std::min(file.rfind('.'), file.size())));
}

void LFile::_ApplyNewFileExtension(char* dest, const char* path, const char* ext) {
  const std::string_view text = FirstOf(path, kMaxPathLength);
  const std::size_t dot = text.find_last_of("./\\");
  // A point at the head of a whole path, but not one behind a folder, begins no extension.
  const bool hasExtension = dot != std::string_view::npos && dot > 0 && text[dot] == '.';
  PathText made;
  made.Append(hasExtension ? text.substr(0, dot) : text);
  made.Append(ext);
  made.CopyTo(dest);
}

void LFile::_MakeFilePath(char* dest, const char* folder, const char* name, const char* ext) {
  PathText path;
  path.AppendFolder(FirstOf(folder, kMaxPathLength));
  path.Append(FirstOf(name, kMaxPathLength));
  path.Append(FirstOf(ext, kMaxPathLength));
  path.CopyTo(dest);
}

void LFile::_MakeFilePathSecure(char* dest, const char* folder, const char* name, const char* ext) {
  PathText path;
  path.AppendFolder(SecureFolder(folder));
  path.Append(SecureName(name));
  path.Append(SecureExtension(ext));
  // Name and extension come to the folder above when they are points only, or are cut to such.
  const std::string_view made = path.Text();
  if (made.substr(FilePartOf(made)) == "..") path.RemoveLast(2);
  path.CopyTo(dest);
}

void LFile::MakeUniqueOrderedFilePath(char* dest, const char* folder, const char* name,
                                      const char* ext) {
  char path[kPathSize];
  _MakeFilePath(path, folder, name, ext);
  for (unsigned int number = 0; TestFileExists(path); ++number) {
    if (!MakeNumberedFilePath(path, folder, name, number, ext)) break;
  }
  CopyPath(dest, path);
}
