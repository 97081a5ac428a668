// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_USERSETTINGS_H
#define ZORVEX_FOUNDATION_STORE_USERSETTINGS_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// \file
/// Settings of the current user, kept in the platform's preferences of the application "LZorvex":
/// on Linux in "zorvex/LZorvex.sqlite" in XDG_CONFIG_HOME, or in ".config" in the home folder.
///
/// An item has a section and a name, which become its key "section/name"; a separator at the end of
/// the section makes no difference, and sections within sections have separators in them. Keys are
/// cut to 519 bytes, and are told apart by case. Values are texts of any length. A text that is not
/// UTF-8 ends in front of its first invalid character.
///
/// What is set is seen at once in this process. It is stored, and seen by others, when the call
/// returns true. When it returns false (the disk is full, say) the next call that stores anything
/// tries again. Changes that others stored are seen after this process stored something.
///
/// Reading takes no system call, after the first time. Storing takes what the disk takes, and waits
/// at most five seconds for other processes.
///
/// Null texts read as empty ones; `out` of `char*` has 260 bytes and may be the default. Any
/// thread. May throw std::bad_alloc.

/// Stores a value. The result tells whether it could be stored.
ZORVEX_API bool LUserSettingSetString(const char* section, const char* name, const char* value);
/// The value, or the default when there is none; true when there is one.
ZORVEX_API bool _LUserSettingGetString(const char* section, const char* name,
                                       const char* defaultValue, char* out);
ZORVEX_API bool _LUserSettingGetString(const char* section, const char* name,
                                       const char* defaultValue, LStringLongTemplate<char>& out);

/// Removes an item and its password.
ZORVEX_API void LUserSettingDeleteItem(const char* section, const char* name);
/// Removes a section with all that is in it, also in sections within it, found without regard to
/// case: "A" removes "A/b" and "a/x/y", but not "AB/c".
ZORVEX_API void LUserSettingDeleteSection(const char* section);

/// Whether the setting has a value.
ZORVEX_API bool LUserSettingTestExists(const char* section, const char* name);
/// The same for a whole key.
ZORVEX_API bool LUserSettingTestKeyExists(const char* path);
/// The same of another user: see zorvex/platform/preferencesdomain.h. `user` must not be null.
ZORVEX_API bool LUserSettingTestKeyFullPathExists(const char* user, const char* path);

/// Stores a password, enciphered by ::LSettingEncrypt, as the item "__name".
ZORVEX_API bool LUserSettingSetPassword(const char* section, const char* name,
                                        const char* password);
/// The password; true when there is one. Without one `out` is empty: that the default makes no
/// difference is deliberate.
ZORVEX_API bool LUserSettingGetPassword(const char* section, const char* name,
                                        const char* defaultValue, char* out);

/// Strings of wide characters, stored in UTF-8: the same items. `out` has room for 260 and may be
/// the default; what is longer is cut.
ZORVEX_API bool LSettingGetUnicodeString(const char* section, const char* name,
                                         const wchar_t* defaultValue, wchar_t* out);
/// The other way; false when it was not stored.
ZORVEX_API bool LSettingSetUnicodeString(const char* section, const char* name,
                                         const wchar_t* value);

#endif  // ZORVEX_FOUNDATION_STORE_USERSETTINGS_H
