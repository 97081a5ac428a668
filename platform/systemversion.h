// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SYSTEMVERSION_H
#define ZORVEX_PLATFORM_SYSTEMVERSION_H

/// The first two numbers of the system's version; on Linux those of the kernel's release: 6 and 1
/// of "6.1.0-18-amd64".
struct SystemVersion {
  int major = 0;
  int minor = 0;
};

/// A number that the system does not tell is zero. Any thread; asks the system each time.
SystemVersion ReadSystemVersion();

#endif  // ZORVEX_PLATFORM_SYSTEMVERSION_H
