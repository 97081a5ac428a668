// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FILEATTRIBUTES_H
#define ZORVEX_PLATFORM_FILEATTRIBUTES_H

#include <cstddef>

/// Extended attributes: small values that a file carries beside its content, by name. A name is in
/// the platform's words for attributes of users, "com.apple.TextEncoding" say, without what a
/// system puts in front of it.
enum class FileAttributeResult {
  kDone,
  kUnsupported,  ///< this file system, or this kind of file, has no such attributes
  kFailed,       ///< no such file, no right to do it, no room, or nothing to remove
};

/// Sets an attribute to `size` bytes. A link counts as what it leads to. Any thread.
FileAttributeResult SetFileAttribute(const char* path, const char* name, const void* value,
                                     std::size_t size);

/// Removes an attribute, in the same way.
FileAttributeResult RemoveFileAttribute(const char* path, const char* name);

#endif  // ZORVEX_PLATFORM_FILEATTRIBUTES_H
