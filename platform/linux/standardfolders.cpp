// SPDX-License-Identifier: MIT
#include "platform/standardfolders.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr std::size_t kDestSize = 260;

void Copy(char* dest, std::string_view text) {
  const std::size_t length = std::min(text.size(), kDestSize - 1);
  std::memcpy(dest, text.data(), length);
  dest[length] = '\0';
}

void CopyHome(char* dest, std::string_view home) {
  while (home.size() > 1 && home.back() == '/')
    home.remove_suffix(1);
  Copy(dest, home);
}

}  // namespace

void NSHomeDirectory(char* dest) {
  const char* const home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') {
    CopyHome(dest, home);
    return;
  }
  passwd entry = {};
  passwd* found = nullptr;
  char text[16384];  // the whole entry, whatever a directory service has put into it
  const int failure = getpwuid_r(getuid(), &entry, text, sizeof text, &found);
  const bool isKnown = failure == 0 && found != nullptr && *found->pw_dir != '\0';
  CopyHome(dest, isKnown ? found->pw_dir : "/");
}

bool NSSearchPathForDirectory(StandardFolder /*folder*/, char* dest) {
  // Nothing to search: which folders a desktop shows under these names is a matter of its own, and
  // what programs of this library share must not move with it.
  *dest = '\0';
  return false;
}
