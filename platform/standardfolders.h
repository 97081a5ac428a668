// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_STANDARDFOLDERS_H
#define ZORVEX_PLATFORM_STANDARDFOLDERS_H

/// \file
/// Where the platform keeps the folders that every user, or every machine, has.
///
/// Each function writes into 260 bytes of the caller's and cuts longer results. Nothing is
/// allocated but what the C library needs to look a user up in its database. They may be called
/// from any thread, as long as none changes the environment meanwhile.

enum class StandardFolder {
  ApplicationSupport,
  Caches,
  LocalApplications,
  Music,
  Movies,
  Pictures,
  Applications,
  Documents,
  Desktop,
  Downloads,
};

/// The user's home folder, without a separator at its end unless it is the root folder. A user
/// without one has the root folder for a home.
void NSHomeDirectory(char* dest);

/// The folder that the platform's search gives, in the user's domain or, for LocalApplications, in
/// the machine's. False, with dest empty, when it gives none, as it always is on a platform that
/// has no such search.
bool NSSearchPathForDirectory(StandardFolder folder, char* dest);

#endif  // ZORVEX_PLATFORM_STANDARDFOLDERS_H
