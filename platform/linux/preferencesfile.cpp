// SPDX-License-Identifier: MIT
#include "platform/linux/preferencesfile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "platform/standardfolders.h"
#include "platform/uniquefd.h"

namespace {

constexpr int kMaxSetAside = 99;

std::string ConfigurationFolder() {
  // A relative one is to be ignored, says who defined the variable.
  const char* const configured = std::getenv("XDG_CONFIG_HOME");
  if (configured != nullptr && *configured == '/') return configured;
  char home[260];
  NSHomeDirectory(home);
  return std::string(home) + "/.config";
}

/// A file name of the application's, whatever it is called: never a path to elsewhere.
std::string FileNameOf(const std::string& application) {
  std::string name;
  for (const char c : application) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && c != '/' && c != '%' && byte != 0x7F) {
      name += c;
    } else {
      constexpr char kDigits[] = "0123456789ABCDEF";
      name += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return name;
}

std::string FolderOf(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

void CreateFolders(const std::string& folder) {
  for (std::size_t end = folder.find('/', 1); end != std::string::npos;
       end = folder.find('/', end + 1)) {
    mkdir(folder.substr(0, end).c_str(), 0700);
  }
  mkdir(folder.c_str(), 0700);
}

/// One process at a time sets files of a folder aside. A file system that knows no locks of folders
/// is left with the little risk that there is without one.
bool LockFolder(const UniqueFd& folder) {
  for (int tries = 0; tries < 100; ++tries) {
    if (flock(folder.Get(), LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK && errno != EINTR) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

std::string FreeName(const std::string& path) {
  for (int number = 1; number <= kMaxSetAside; ++number) {
    std::string name = path + ".damaged" + std::to_string(number);
    struct stat status = {};
    if (lstat(name.c_str(), &status) != 0 && errno == ENOENT) return name;
  }
  return {};
}

}  // namespace

std::string PreferencesPath(const std::string& application) {
  return ConfigurationFolder() + "/zorvex/" + FileNameOf(application) + ".sqlite";
}

void CreatePreferencesFile(const std::string& path) {
  const auto create = [&] {
    return UniqueFd(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  };
  if (create() || errno != ENOENT) return;
  CreateFolders(FolderOf(path));
  create();
}

bool SetPreferencesFileAside(const std::string& path, const std::function<bool()>& isStillThere) {
  const UniqueFd folder(open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder || !LockFolder(folder)) return false;
  if (!isStillThere()) return true;
  const std::string name = FreeName(path);
  if (name.empty()) return false;
  // The journal first: left behind, it would be taken for one of the next file's.
  if (std::rename((path + "-journal").c_str(), (name + "-journal").c_str()) != 0 &&
      errno != ENOENT) {
    return false;
  }
  return std::rename(path.c_str(), name.c_str()) == 0;
}
