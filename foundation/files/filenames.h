// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FILENAMES_H
#define ZORVEX_FOUNDATION_FILES_FILENAMES_H

#include <zorvex/foundation/export.h>

/// Whether a text may be the name of a file or of a folder:
///
/// | result | meaning                                                    |
/// |--------|------------------------------------------------------------|
/// | 0      | valid                                                      |
/// | 1      | empty                                                      |
/// | 2      | longer than 259 bytes                                      |
/// | 3      | ends with a space or period (never given)                  |
/// | 4      | starts with a period                                       |
/// | 5      | contains a control character, a byte below 32              |
/// | 6      | contains one of `:`, `\` and `/`                           |
/// | 7      | reserved by the operating system (never given)             |
///
/// The first that fits is given, in the order 1, 2, 4, and then 5 or 6 for the first such character
/// from the left. On purpose, 3 and 7 are words for the messages only, and `< > " | ? *` and spaces
/// at the ends are fine. LFile::IsFileValid gives the message of each.
ZORVEX_API unsigned int LFileOrFolderNameValidate(const char* name);

/// Whether the operating system keeps a name for itself. No name is reserved on this platform.
ZORVEX_API bool LFileNameIsReserved(const char* name);

/// Whether an extension is one of a list that ends with a null pointer, by `strcasecmp`: the
/// letters A to Z in either case. Points are compared as other characters are.
ZORVEX_API bool LIsFileExtensionInList(const char* const* list, const char* ext);

#endif  // ZORVEX_FOUNDATION_FILES_FILENAMES_H
