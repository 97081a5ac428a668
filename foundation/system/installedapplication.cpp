// SPDX-License-Identifier: MIT
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

#include "foundation/files/pathtext.h"
#include "foundation/store/xmldocument.h"
#include "foundation/system/application.h"
#include "foundation/system/xdgfolders.h"

namespace {

constexpr std::string_view kExtension = ".desktop";

/// Opening anything else may take for ever, or what it has.
bool IsRegularFile(const std::string& path) {
  std::error_code failure;
  return std::filesystem::is_regular_file(path, failure);
}

struct DesktopEntry {
  std::string type, name, icon, exec, tryExec;
  bool isHidden = false;
};

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r") + 1 - begin);
}

/// A value's text: escapes stand for blanks and backslashes.
std::string Unescaped(std::string_view text) {
  constexpr std::string_view kEscapes = "sntr\\";
  constexpr std::string_view kMeanings = " \n\t\r\\";
  std::string value;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t escape = text[i] == '\\' && i + 1 < text.size() ? kEscapes.find(text[i + 1])
                                                                      : std::string_view::npos;
    value += escape == std::string_view::npos ? text[i] : kMeanings[escape];
    if (escape != std::string_view::npos) ++i;
  }
  return value;
}

void SetField(DesktopEntry& entry, std::string_view key, std::string_view value) {
  if (key == "Type") entry.type = value;
  if (key == "Name") entry.name = Unescaped(value);
  if (key == "Icon") entry.icon = Unescaped(value);
  if (key == "Exec") entry.exec = Unescaped(value);
  if (key == "TryExec") entry.tryExec = Unescaped(value);
  if (key == "Hidden") entry.isHidden = value == "true";
}

DesktopEntry ReadEntry(std::istream& file) {
  DesktopEntry entry;
  bool isInEntry = false;
  std::string line;
  while (std::getline(file, line)) {
    const std::string_view text = Trimmed(line);
    const std::size_t equals = text.find('=');
    if (text.starts_with('[')) {
      isInEntry = text == "[Desktop Entry]";
    } else if (isInEntry && !text.starts_with('#') && equals != std::string_view::npos) {
      SetField(entry, Trimmed(text.substr(0, equals)), Trimmed(text.substr(equals + 1)));
    }
  }
  return entry;
}

/// The first word of a command; in quotes, a backslash keeps the next byte from meaning anything.
std::string FirstWord(std::string_view command) {
  const bool isQuoted = command.starts_with('"');
  std::string word;
  for (std::size_t i = isQuoted ? 1 : 0; i < command.size(); ++i) {
    if (command[i] == (isQuoted ? '"' : ' ')) break;
    if (isQuoted && command[i] == '\\' && i + 1 < command.size()) ++i;
    word += command[i];
  }
  return word;
}

std::string ProgramOf(const DesktopEntry& entry) {
  const bool isRunnable =
      entry.type == "Application" && (entry.tryExec.empty() || !FindProgram(entry.tryExec).empty());
  return isRunnable ? FindProgram(FirstWord(entry.exec)) : std::string();
}

const char* NewestRelease(const LXMLDocument& description) {
  const LXMLElement* element = &description;
  for (const char* const name : {"component", "releases", "release"}) {
    if (element != nullptr) element = element->GetElement(name);
  }
  return element == nullptr ? "" : element->Attributes().GetString("version", "");
}

/// Releases stand in their order, the newest one first.
void ReadVersion(const std::string& folder, const std::string& id, char* version) {
  const std::string names[] = {id + ".metainfo.xml", id + ".appdata.xml",
                               id + ".desktop.appdata.xml"};
  for (const std::string& name : names) {
    LProcessInterfaceVoid process;
    LXMLDocument description;
    char error[260];
    const std::string path = std::string(folder).append("/metainfo/").append(name);
    if (*version != '\0' || !IsRegularFile(path)) continue;
    if (description.LoadFromFile(process, path.c_str(), error) != 0) continue;
    CopyPath(version, NewestRelease(description));
  }
}

bool FindByDesktopFile(const std::string& id, LInstalledApplication& application) {
  for (const std::string& folder : DataFolders()) {
    const std::string path =
        std::string(folder).append("/applications/").append(id).append(kExtension);
    if (!IsRegularFile(path)) continue;
    std::ifstream file(path);
    const DesktopEntry entry = ReadEntry(file);
    if (entry.isHidden) return false;
    const std::string program = ProgramOf(entry);
    if (program.empty()) continue;
    CopyPath(application.path, program);
    CopyPath(application.desktopFile, path);
    CopyPath(application.name, entry.name);
    CopyPath(application.icon, entry.icon);
    ReadVersion(folder, id, application.version);
    return true;
  }
  return false;
}

}  // namespace

bool LApplicationFind(const char* id, LInstalledApplication& application) {
  application = {};
  std::string name = id;
  if (name.empty() || name.find('/') != std::string::npos) return false;
  if (!name.ends_with(kExtension)) CopyPath(application.path, FindProgram(name));
  if (name.ends_with(kExtension)) name.resize(name.size() - kExtension.size());
  return FindByDesktopFile(name, application) || *application.path != '\0';
}
