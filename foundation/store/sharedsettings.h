// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_SHAREDSETTINGS_H
#define ZORVEX_FOUNDATION_STORE_SHAREDSETTINGS_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/store/xmldocument.h>
#include <zorvex/foundation/text/stringlong.h>

/// \file
/// Settings that everybody can read, in "SharedSettings.xml" in LFile::GetSharedDataFolderApp,
/// which is made when it is missing. What holds of all XML settings stands in
/// zorvex/foundation/store/xmlsettings.h. Nothing tells whether a change could be written.

/// Replaces the document by what is in the file, for who wants to read or change much of it. True,
/// whatever could be read.
ZORVEX_API bool LSharedSettingsLoad(LXMLDocument& document);
/// Writes the document over the file.
ZORVEX_API void LSharedSettingsSave(const LXMLDocument& document);

/// Sets a value, in place of the one there was.
ZORVEX_API void LSharedSettingSetString(const char* section, const char* name, const char* value);
/// The value, or the default when there is none; true when there is one.
ZORVEX_API bool _LSharedSettingGetString(const char* section, const char* name,
                                         const char* defaultValue, char* out);
/// The same into a string, and deliberately also cut to 259 bytes.
ZORVEX_API bool _LSharedSettingGetString(const char* section, const char* name,
                                         const char* defaultValue, LStringLongTemplate<char>& out);

// What these two do not find they do not write either.

/// Removes all items of that name, and their passwords, from the first section of that name.
ZORVEX_API void LSharedSettingDeleteItem(const char* section, const char* name);
/// Removes all sections of that name.
ZORVEX_API void LSharedSettingDeleteSection(const char* section);

/// Whether there is a section.
ZORVEX_API bool LSharedSettingTestKeyExists(const char* section);
/// Whether there is an item.
ZORVEX_API bool LSharedSettingTestExists(const char* section, const char* name);

/// Passwords, as those of ::LUserSettingSetPassword and ::LUserSettingGetPassword: enciphered, as
/// the item "__name", with a default that deliberately makes no difference.
ZORVEX_API void LSharedSettingSetPassword(const char* section, const char* name,
                                          const char* password);
/// False, with an empty text, when there is none.
ZORVEX_API bool LSharedSettingGetPassword(const char* section, const char* name,
                                          const char* defaultValue, char* out);

#endif  // ZORVEX_FOUNDATION_STORE_SHAREDSETTINGS_H
