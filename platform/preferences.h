// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_PREFERENCES_H
#define ZORVEX_PLATFORM_PREFERENCES_H

#include "platform/cfstring.h"
#include "platform/preferencesdomain.h"

/// \file
/// Small named values that a program keeps for its user: of each application, user and host, values
/// by keys. Keys and values are terminated texts of any length, keys are told apart byte by byte.
///
/// What a process sets it sees at once, and other processes after CFPreferencesSynchronize, which
/// also makes it last: from then on it outlives a crash of the process and of the machine. What
/// other processes synchronised is seen after the next CFPreferencesSynchronize of this one, which
/// applies what was set here last of all. Everything that one call synchronises becomes visible,
/// and lasts, together or not at all.
///
/// Values come from memory. Only the first look into an application's preferences and
/// CFPreferencesSynchronize touch the disk; they wait at most five seconds for other processes that
/// write. Where the stored preferences cannot be read there are no values, and later looks try
/// again from time to time. Damaged ones are set aside under another name by the first
/// synchronisation that has something to store, which keeps what this process still knew of them.
///
/// All may be called from any thread. Nobody waits for the disk but who synchronises or is the
/// first to look. After a fork both processes may go on; what was not synchronised by then is the
/// parent's to store. Texts are borrowed for the call, none may be null unless it says so. Throws
/// std::bad_alloc, nothing else.

/// The value of a key, null when there is none.
CFStringRef CFPreferencesCopyValue(const char* key, const char* application, const char* user,
                                   const char* host);

/// Sets a value; a null value removes it.
void CFPreferencesSetValue(const char* key, const char* value, const char* application,
                           const char* user, const char* host);

/// Stores what this process set of the application's preferences, for all users and hosts, and
/// reads what others stored. False when it could not be stored, or others could not be waited for:
/// what was set stays set in this process, and the next call tries again.
bool CFPreferencesSynchronize(const char* application, const char* user, const char* host);

/// All keys in ascending order of their bytes; never null.
CFArrayRef CFPreferencesCopyKeyList(const char* application, const char* user, const char* host);

#endif  // ZORVEX_PLATFORM_PREFERENCES_H
