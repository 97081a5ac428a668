// SPDX-License-Identifier: MIT
#include "foundation/files/filenames.h"

#include <strings.h>

#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"

namespace {

bool IsControl(char c) {
  return static_cast<unsigned char>(c) < 32;
}

bool IsForbidden(char c) {
  return c == ':' || IsSeparator(c);
}

unsigned int Validate(std::string_view name) {
  if (name.empty()) return 1;
  if (name.size() > kMaxPathLength) return 2;
  if (name[0] == '.') return 4;
  for (const char c : name) {
    if (IsControl(c)) return 5;
    if (IsForbidden(c)) return 6;
  }
  return 0;
}

// The words of all messages are fixed, also where a list names more than what is tested.
std::string_view FileMessage(unsigned int code) {
  switch (code) {
    case 1:
      return "File name is blank. Please provide a file name.";
    case 2:
      return "File name may be less than 260 characters long";
    case 3:
      return "File name may not end with a space or period";
    case 4:
      return "File name may not start with a period";
    case 5:
      return "File name may not contain control characters";
    case 6:
      return "File name may not contain characters < > : \" / \\ | ? *";
    case 7:
      return "File name is reserved for use by the operating system";
    default:
      return "Invalid file name";
  }
}

std::string_view FolderMessage(unsigned int code) {
  switch (code) {
    case 1:
      return "Folder name must not be empty";
    case 3:
      return "Folder name must not end with a space or period";
    case 4:
      return "Folder name must not start with a period";
    case 5:
      return "Folder name must not contain control characters";
    case 6:
      return "Folder component must not contain character :";
    case 7:
      return "' is reserved for use by the operating system";
    default:
      return "Invalid folder";
  }
}

/// False, with the message, where one is wanted.
bool Refuse(char* message, std::string_view text) {
  if (message != nullptr) CopyPath(message, text);
  return false;
}

bool RefuseComponent(char* message, std::string_view component, unsigned int code) {
  PathText text;
  if (code == 7) {
    text.Append('\'');
    text.Append(component);
  }
  text.Append(FolderMessage(code));
  return Refuse(message, text.Text());
}

}  // namespace

unsigned int LFileOrFolderNameValidate(const char* name) {
  return Validate(FirstOf(name, kPathSize));
}

bool LFileNameIsReserved(const char* /*name*/) {
  return false;
}

bool LIsFileExtensionInList(const char* const* list, const char* ext) {
  for (; *list != nullptr; ++list) {
    if (strcasecmp(*list, ext) == 0) return true;
  }
  return false;
}

bool LFile::IsFileValid(const char* name, char* message) {
  const unsigned int code = LFileOrFolderNameValidate(name);
  if (code != 0) return Refuse(message, FileMessage(code));
  if (message != nullptr) *message = '\0';
  return true;
}

bool LFile::IsFolderValid(const char* folder, char* message) {
  if (message != nullptr) *message = '\0';
  std::string_view rest = FirstOf(folder, kPathSize);
  if (rest.empty()) return Refuse(message, "Folder must not be empty");
  if (rest.size() > kMaxPathLength) {
    return Refuse(message, "Folder must be less than 260 character long");
  }
  if (rest[0] != '/') return Refuse(message, "Folder must begin with /");
  if (rest.size() == 1) return true;
  do {
    rest.remove_prefix(1);
    const std::size_t length = std::min(rest.find_first_of(kSeparators), rest.size());
    const std::string_view component = rest.substr(0, length);
    if (const unsigned int code = Validate(component)) {
      return RefuseComponent(message, component, code);
    }
    rest.remove_prefix(length);
  } while (rest.size() > 1);  // one separator may end it
  return true;
}

bool LFile::PreprocessName(const char* name, char* dest) {
  PathText kept;
  for (; *name != '\0' && kept.Room() > 0; ++name) {
    const bool isLeadingPeriod = *name == '.' && kept.Text().empty();
    if (!isLeadingPeriod && !IsControl(*name) && !IsForbidden(*name)) kept.Append(*name);
  }
  kept.CopyTo(dest);
  return !kept.Text().empty();
}

void LFile::EscapeFilePath(const char* path, char* dest) {
  PathText escaped;
  for (; *path != '\0'; ++path) {
    const bool isSpecial = *path == '`' || *path == '"';
    // A backslash alone at the end would take the meaning of the quote behind it.
    if (escaped.Room() < (isSpecial ? 2U : 1U)) break;
    if (isSpecial) escaped.Append('\\');
    escaped.Append(*path);
  }
  escaped.CopyTo(dest);
}
