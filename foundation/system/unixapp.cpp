// SPDX-License-Identifier: MIT
#include "foundation/system/unixapp.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "foundation/debug/debugthread.h"
#include "foundation/system/locale.h"

constinit std::int32_t gargc = 0;
constinit char** gargv = nullptr;

bool LUnixAppInitCommon(int argc, char** argv) {
  LDebugThreadDataStartThread("MAIN");
  umask(0);
  LUnixAppCopyCommandLineArguments(argc, argv);
  LGetLocale(LLocaleMessages);
  LSetMaximumNumberOfOpenFiles();
  return true;
}

void LUnixAppCopyCommandLineArguments(int argc, char** argv) {
  const int count = std::max(argc, 0);
  gargc = 0;
  // Never freed: others keep pointers into it.
  gargv = std::make_unique<char*[]>(static_cast<std::size_t>(count) + 1).release();
  for (int i = 0; i < count; ++i) {
    if (i == 1 && std::strncmp(argv[i], "-psn", 4) == 0) continue;
    gargv[gargc++] = argv[i];
  }
  gargv[gargc] = nullptr;
}

void LRemoveCommandLineArgument(int index) {
  const std::int32_t count = gargc;
  if (count > index) std::copy(gargv + index + 1, gargv + count + 1, gargv + index);
  // Counted down whatever the index is: see the header.
  if (count >= 0) gargv[count] = nullptr;
  gargc = count - 1;
}

void LSetMaximumNumberOfOpenFiles() {
  rlimit limit = {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = 1024;
  setrlimit(RLIMIT_NOFILE, &limit);
}
