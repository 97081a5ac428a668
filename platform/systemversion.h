// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SYSTEMVERSION_H
#define ZORVEX_PLATFORM_SYSTEMVERSION_H

/// The first two numbers of the system's version; on Linux those of the kernel's release.
struct SystemVersion {
  int major = 0;
  int minor = 0;
};

/// Zeros where the system does not tell. Any thread; asks the system each time.
SystemVersion ReadSystemVersion();

#endif  // ZORVEX_PLATFORM_SYSTEMVERSION_H
