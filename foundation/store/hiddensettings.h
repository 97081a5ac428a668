// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_HIDDENSETTINGS_H
#define ZORVEX_FOUNDATION_STORE_HIDDENSETTINGS_H

#include <zorvex/foundation/export.h>

/// \file
/// Settings of the user where one does not come across them, in ".vantrel/LZorvex.xml" in the home
/// folder. Each call makes the folder when it is missing. What holds of all XML settings stands in
/// zorvex/foundation/store/xmlsettings.h.

/// Nothing tells whether it could be written.
ZORVEX_API void LUserHiddenSettingSetString(const char* section, const char* name,
                                            const char* value);
/// The value, or the default when there is none; true when there is one.
ZORVEX_API bool _LUserHiddenSettingGetString(const char* section, const char* name,
                                             const char* defaultValue, char* out);

#endif  // ZORVEX_FOUNDATION_STORE_HIDDENSETTINGS_H
