// SPDX-License-Identifier: MIT
#include "platform/systemversion.h"

#include <sys/utsname.h>

#include <cstdio>

SystemVersion ReadSystemVersion() {
  SystemVersion version;
  utsname system = {};
  if (uname(&system) == 0) std::sscanf(system.release, "%d.%d", &version.major, &version.minor);
  return version;
}
