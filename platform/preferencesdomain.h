// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_PREFERENCESDOMAIN_H
#define ZORVEX_PLATFORM_PREFERENCESDOMAIN_H

/// \file
/// Whose preferences, and of which machine. Other texts may stand in their place; each names values
/// of its own. On Linux all of them are kept with the current user's own preferences, where they
/// move to another machine together with the home folder: they are filed by these names, and none
/// of them leads to what another account keeps.

inline constexpr char kCFPreferencesCurrentUser[] = "kCFPreferencesCurrentUser";
inline constexpr char kCFPreferencesAnyUser[] = "kCFPreferencesAnyUser";
inline constexpr char kCFPreferencesCurrentHost[] = "kCFPreferencesCurrentHost";
inline constexpr char kCFPreferencesAnyHost[] = "kCFPreferencesAnyHost";

#endif  // ZORVEX_PLATFORM_PREFERENCESDOMAIN_H
