// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLSETTINGSFILE_H
#define ZORVEX_FOUNDATION_STORE_XMLSETTINGSFILE_H

#include "foundation/store/xmldocument.h"

/// \file
/// What all settings in XML files are made of.

void LoadXmlSettings(LXMLDocument& document, const char* path);
/// With one write into the file, under an exclusive lock that is not waited for.
void SaveXmlSettings(const LXMLDocument& document, const char* path);

/// Makes the section and the item where they are missing.
void SetXmlSetting(LXMLDocument& document, const char* section, const char* name,
                   const char* value);
/// Null when there is none.
const LXMLElement* FindXmlSetting(const LXMLDocument& document, const char* section,
                                  const char* name);
/// Null when there is none, or it has no value. Belongs to the document.
const char* FindXmlSettingValue(const LXMLDocument& document, const char* section,
                                const char* name);

#endif  // ZORVEX_FOUNDATION_STORE_XMLSETTINGSFILE_H
