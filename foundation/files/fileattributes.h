// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FILEATTRIBUTES_H
#define ZORVEX_FOUNDATION_FILES_FILEATTRIBUTES_H

#include "platform/fileattributes.h"

/// LFile::SetFileAttributeTextEncodingUTF8, for who has to know why a file was not marked.
FileAttributeResult MarkFileAsUtf8(const char* path);

#endif  // ZORVEX_FOUNDATION_FILES_FILEATTRIBUTES_H
