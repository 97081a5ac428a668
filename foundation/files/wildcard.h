// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_WILDCARD_H
#define ZORVEX_FOUNDATION_FILES_WILDCARD_H

/// Whether a name matches a pattern as LFile::IsMatch says, where "A" to "Z" and "a" to "z" are the
/// same. These letters alone, whatever the C library's locale is: what a folder's listing holds
/// must not depend on the user's language.
bool IsMatchAnyCase(const char* pattern, const char* name);

#endif  // ZORVEX_FOUNDATION_FILES_WILDCARD_H
