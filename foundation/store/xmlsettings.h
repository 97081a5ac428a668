// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLSETTINGS_H
#define ZORVEX_FOUNDATION_STORE_XMLSETTINGS_H

#include <zorvex/foundation/export.h>

/// \file
/// Settings in XML files that people can read: each section is an element at the top, each item an
/// element in it with its value in the attribute "value".
///
///     <Network>
///             <Proxy value="on"/>
///     </Network>
///
/// So a section and an item are called as XML elements may be, without blanks and separators, and
/// have at most 259 bytes. Other elements and attributes of a file stay when it is written.
///
/// Every call reads the file. A file that is missing, or broken, is empty or has what could be read
/// of it, and is written like that by the next change. Two processes that change a file at the same
/// moment can lose one of the changes: only the writing itself is locked, and a file that cannot be
/// opened, or that another process is writing just then, is silently not written.
///
/// Null texts read as empty ones; `out` of `char*` has 260 bytes and may be the default. Any
/// thread. May throw std::bad_alloc.

/// Sets a value in a file and writes it. The folder must exist.
ZORVEX_API void LXMLSettingSetString(const char* path, const char* section, const char* name,
                                     const char* value);
/// The value, or the default when there is none; true when there is one.
ZORVEX_API bool LXMLSettingGetString(const char* path, const char* section, const char* name,
                                     const char* defaultValue, char* out);

#endif  // ZORVEX_FOUNDATION_STORE_XMLSETTINGS_H
