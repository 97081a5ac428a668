// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_BIRTHTIME_H
#define ZORVEX_PLATFORM_BIRTHTIME_H

/// When a file was created, in seconds since 1970; writing to it and setting its times later leave
/// that as it is. The file is named in an open folder, or by a path where `folder` is AT_FDCWD. A
/// link is a file of its own.
///
/// Where the file system keeps no such time, the time of the last change to the file or to what is
/// known of it is given. Nobody can set that one, and the file was there by then: it may be younger
/// than it is, never older.
///
/// False when nothing is known of the file, with the reason in `errno`. Any thread.
bool ReadBirthTime(int folder, const char* name, long long& seconds);

#endif  // ZORVEX_PLATFORM_BIRTHTIME_H
