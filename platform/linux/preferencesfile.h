// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_LINUX_PREFERENCESFILE_H
#define ZORVEX_PLATFORM_LINUX_PREFERENCESFILE_H

#include <functional>
#include <string>

/// "zorvex/APPLICATION.sqlite" in the user's configuration folder: XDG_CONFIG_HOME when that is an
/// absolute path, else ".config" in the home folder. Bytes of the name that mean something to the
/// system, and '%', are written as '%' and two digits.
std::string PreferencesPath(const std::string& application);

/// Creates an empty file that only the user may read, and the folders above it that are missing;
/// leaves one that exists alone. Does not tell of failures: opening it will.
void CreatePreferencesFile(const std::string& path);

/// Renames a damaged file, and the journal of its last change, to the first free one of
/// "PATH.damaged1", "PATH.damaged2" and so on. `isStillThere` is asked when no other process is
/// about to do the same: what stands at the path may be a new file by then, which stays. False when
/// the damaged file is still at its path.
bool SetPreferencesFileAside(const std::string& path, const std::function<bool()>& isStillThere);

#endif  // ZORVEX_PLATFORM_LINUX_PREFERENCESFILE_H
