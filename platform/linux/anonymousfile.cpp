// SPDX-License-Identifier: MIT
#include "platform/anonymousfile.h"

#include <sys/mman.h>

namespace {

// MFD_NOEXEC_SEAL, which some systems demand and those before Linux 6.3 do not know.
constexpr unsigned int kNeverExecuted = 8;

}  // namespace

UniqueFd OpenAnonymousFile() {
  UniqueFd file(memfd_create("zorvex", MFD_CLOEXEC | kNeverExecuted));
  if (!file) file = UniqueFd(memfd_create("zorvex", MFD_CLOEXEC));
  return file;
}
