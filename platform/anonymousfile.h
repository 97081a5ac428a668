// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_ANONYMOUSFILE_H
#define ZORVEX_PLATFORM_ANONYMOUSFILE_H

#include "platform/uniquefd.h"

/// An empty file without a name, kept in memory and gone with its last descriptor; close-on-exec.
/// None when the system has no descriptors or no memory left. Any thread.
UniqueFd OpenAnonymousFile();

#endif  // ZORVEX_PLATFORM_ANONYMOUSFILE_H
