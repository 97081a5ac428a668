// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_APPLICATIONSETTINGS_H
#define ZORVEX_FOUNDATION_STORE_APPLICATIONSETTINGS_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// \file
/// Settings that another application of the same maker keeps for the current user. All is as in
/// zorvex/foundation/store/usersettings.h but where they are kept.

/// Where they are kept: replaces `out` by "com.vantrel." and the application's name, the letters of
/// ASCII in lower case.
ZORVEX_API void LSettingGetCFPreferencesApplicationKeyLongForApplication(
    LStringLongTemplate<char>& out, const char* application);

/// The value, or the default when there is none; true when there is one.
ZORVEX_API bool LSettingForApplicationGetString(const char* application, const char* section,
                                                const char* name, const char* defaultValue,
                                                char* out);
/// Stores a value. The result tells whether it could be stored.
ZORVEX_API bool LSettingForApplicationSetString(const char* application, const char* section,
                                                const char* name, const char* value);
/// Stores "1" for true and "0" for false.
ZORVEX_API bool LSettingForApplicationSetBool(const char* application, const char* section,
                                              const char* name, bool value);

#endif  // ZORVEX_FOUNDATION_STORE_APPLICATIONSETTINGS_H
