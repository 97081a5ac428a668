// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_SETTINGVALUES_H
#define ZORVEX_FOUNDATION_STORE_SETTINGVALUES_H

#include <string_view>

#include "foundation/store/cfstring.h"
#include "foundation/text/stringlong.h"
#include "platform/preferencesdomain.h"

/// \file
/// The platform's preferences as settings use them: always those of the current host.

/// Whose preferences.
struct SettingDomain {
  const char* application = "LZorvex";
  const char* user = kCFPreferencesCurrentUser;
};

/// Null when there is none.
CFStringRef CopySetting(const SettingDomain& domain, const char* path);
/// The value, or the default when there is none; true when there is one. Where the path is taken
/// from `out`, it is read before that is written.
bool GetSetting(const SettingDomain& domain, const char* path, const char* defaultValue, char* out);
bool GetSetting(const SettingDomain& domain, const char* path, const char* defaultValue,
                LStringLongTemplate<char>& out);

/// Changes without storing. A null value removes.
void ChangeSetting(const SettingDomain& domain, const char* path, const char* value);
bool StoreSettings(const SettingDomain& domain);
/// Changes and stores.
bool SetSetting(const SettingDomain& domain, const char* path, const char* value);

CFArrayRef CopySettingKeys(const SettingDomain& domain);
/// Removes what is in a section and in all records below it, and stores that.
void DeleteSettings(const SettingDomain& domain, const char* section);

/// ::_LSettingMakeParentKeyPath without storing; whether there is something to store.
bool MakeParentKeyPath(const SettingDomain& domain, const char* path);

/// A value for someone who asked for it, as a text of 260 bytes or of any length.
void CopySettingText(std::string_view value, char* out);
void CopySettingText(std::string_view value, LStringLongTemplate<char>& out);

/// Replaces what is stored as a password by the password, in 260 bytes.
void CopyPassword(const LStringLongTemplate<char>& stored, char* out);

#endif  // ZORVEX_FOUNDATION_STORE_SETTINGVALUES_H
