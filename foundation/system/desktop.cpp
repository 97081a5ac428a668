// SPDX-License-Identifier: MIT
#include "foundation/system/desktop.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "foundation/system/shell.h"
#include "foundation/system/webaddress.h"
#include "foundation/system/xdgfolders.h"

namespace {

namespace fs = std::filesystem;

bool Start(const std::vector<std::string>& arguments) {
  std::vector<const char*> pointers(arguments.size() + 1);
  for (std::size_t i = 0; i < arguments.size(); ++i)
    pointers[i] = arguments[i].c_str();
  return LStartProgram(pointers.data());
}

/// A command of BROWSER. No shell reads it, so that nothing in an address is special to one.
bool StartBrowser(const std::string& command, const std::string& address) {
  std::vector<std::string> arguments;
  bool isPlaced = false;
  std::istringstream words(command);
  for (std::string word; std::getline(words, word, ' ');) {
    const std::size_t place = word.find("%s");
    if (place != std::string::npos) word.replace(place, 2, address);
    isPlaced = isPlaced || place != std::string::npos;
    if (!word.empty()) arguments.push_back(word);
  }
  if (arguments.empty()) return false;
  if (!isPlaced) arguments.push_back(address);
  return Start(arguments);
}

bool StartBrowserOfEnvironment(const std::string& address) {
  const char* const browsers = std::getenv("BROWSER");
  const std::vector<std::string> commands = ListParts(browsers == nullptr ? "" : browsers);
  return std::any_of(commands.begin(), commands.end(),
                     [&](const std::string& command) { return StartBrowser(command, address); });
}

/// With the program that the user has chosen for it.
bool OpenByDesktop(const std::string& address) {
  return Start({"xdg-open", address}) || Start({"gio", "open", address});
}

/// Whether a file manager has said that the session's bus may start it.
bool IsFileManagerInstalled() {
  for (const std::string& folder : DataFolders()) {
    std::error_code failure;
    for (fs::directory_iterator entry(folder + "/dbus-1/services", failure), end;
         !failure && entry != end; entry.increment(failure)) {
      if (entry->path().filename().native().ends_with("FileManager1.service")) return true;
    }
  }
  return false;
}

/// In an address nothing is left that means anything in the two notations for values: no quote, no
/// comma, no backslash.
bool ShowItem(const std::string& address) {
  return Start({"gdbus", "call", "--session", "--dest", "org.freedesktop.FileManager1",
                "--object-path", "/org/freedesktop/FileManager1", "--method",
                "org.freedesktop.FileManager1.ShowItems", "['" + address + "']", ""}) ||
         Start({"dbus-send", "--session", "--dest=org.freedesktop.FileManager1",
                "--type=method_call", "/org/freedesktop/FileManager1",
                "org.freedesktop.FileManager1.ShowItems", "array:string:" + address, "string:"});
}

/// The absolute path without a separator at its end, behind which a link would be followed; empty
/// when there is no such file.
std::string ExistingFile(std::string path) {
  while (path.size() > 1 && path.back() == '/')
    path.pop_back();
  std::error_code failure;
  const fs::path absolute = fs::absolute(path, failure);
  if (failure || !fs::exists(fs::symlink_status(absolute, failure))) return {};
  return absolute.native();
}

}  // namespace

bool LOpenWebPage(const char* address) {
  const std::string safe = SafeWebAddress(address);
  if (safe.empty()) return false;
  return OpenByDesktop(safe) || StartBrowserOfEnvironment(safe) ||
         Start({"sensible-browser", safe}) || Start({"x-www-browser", safe});
}

bool LRevealFile(const char* path) {
  const std::string file = ExistingFile(path);
  if (file.empty()) return false;
  if (IsFileManagerInstalled() && ShowItem(FileAddress(file))) return true;
  return OpenByDesktop(FileAddress(fs::path(file).parent_path().native()));
}
