// SPDX-License-Identifier: MIT
#include "platform/systemversion.h"

#include <sys/utsname.h>

#include <charconv>
#include <cstring>

SystemVersion ReadSystemVersion() {
  SystemVersion version;
  utsname system = {};
  if (uname(&system) != 0) return version;
  // "6.1.0-18-amd64"
  const char* const end = system.release + std::strlen(system.release);
  const auto [point, failure] = std::from_chars(system.release, end, version.major);
  if (failure == std::errc() && point != end && *point == '.') {
    std::from_chars(point + 1, end, version.minor);
  }
  return version;
}
