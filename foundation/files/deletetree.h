// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_DELETETREE_H
#define ZORVEX_FOUNDATION_FILES_DELETETREE_H

#include <string>

/// The path of a folder that is to be removed itself, without separators at its end: a link is then
/// a link, and not the folder that it leads to. Empty for what nobody removes: the system's root
/// folder and the folders that end with "." or "..". Throws std::bad_alloc.
std::string RemovableFolder(const char* path);

#endif  // ZORVEX_FOUNDATION_FILES_DELETETREE_H
