// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_LOCKEDCOPY_H
#define ZORVEX_FOUNDATION_FILES_LOCKEDCOPY_H

#include <sys/stat.h>

#include "foundation/threads/processinterface.h"
#include "platform/uniquefd.h"

/// \file
/// The parts of copying one file with progress, for a file by itself and for those of a folder.
/// Where something gives nothing or fails, `errno` has the reason.

/// A regular file for reading, locked shared. Empty also when its lock is not to be had in time.
/// `flags`: O_NOFOLLOW or 0.
UniqueFd OpenSource(int folder, const char* name, int flags, struct stat& status);

/// A regular file for writing, created with `mode` or existing, that is not the source; locked
/// exclusively and empty. Until it is locked it keeps what it held. `opened` tells which file it
/// is.
UniqueFd OpenDestination(int folder, const char* name, int flags, mode_t mode,
                         const struct stat& source, struct stat& opened);

enum class CopyResult { kDone, kStopped, kFailed };

/// Copies as much as the source held at the beginning. A source that is shorter by now fails, with
/// `errno` 0.
CopyResult CopyContent(LProcessInterface& process, int from, int to, const struct stat& source);

#endif  // ZORVEX_FOUNDATION_FILES_LOCKEDCOPY_H
