// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FILEFLAGS_H
#define ZORVEX_PLATFORM_FILEFLAGS_H

/// Clears the flags of a file that keep it from being deleted, whatever its permissions: immutable
/// and append-only. The file is named in an open folder, or by a path where `folder` is AT_FDCWD;
/// "." is the folder itself. Only regular files and folders have such flags: links are not
/// followed, and neither pipes nor devices are opened.
///
/// True when one of the flags was set and is no longer. On Linux the caller needs the capability
/// for that (the superuser has it) and /proc. Any thread.
bool ClearFileFlags(int folder, const char* name);

#endif  // ZORVEX_PLATFORM_FILEFLAGS_H
