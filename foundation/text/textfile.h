// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_TEXTFILE_H
#define ZORVEX_FOUNDATION_TEXT_TEXTFILE_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// \file
/// Whole text files in one call. Texts in memory are UTF-8.
///
/// A load waits about a second for a shared lock of the file (flock), a save half a second for an
/// exclusive one, so that no program that uses them reads a file half written. When somebody holds
/// the file longer than that they go on without a lock; on purpose that is not told.
///
/// A load is false only when the file cannot be opened; `out` is then as it was. The file is read
/// in one go, and the length of the text is the size that the file had just before. What could not
/// be read, as when the file is cut meanwhile, is zeros: that is not told either, nor are a folder
/// and a device, which have nothing to be read. A named pipe has nothing either, but opening it to
/// load waits until somebody writes to it.
///
/// UTF-16 is converted unit for unit as by LCopyFromUnicode, up to its first unit of 0.
///
/// Any thread may call them. std::bad_alloc is thrown where there is no memory for the text.

/// The bytes as they are, a byte-order mark too.
ZORVEX_API bool LLoadText(const char* path, LStringLongTemplate<char>& out);

/// UTF-16 in little endian, of which a byte-order mark is a part: it is not removed. An odd last
/// byte is not read.
ZORVEX_API bool LLoadTextAsUTF16(const char* path, LStringLongTemplate<char>& out);

/// UTF-16 in the order that its byte-order mark says, which is not part of the text; little endian
/// without one. An odd last byte is not read.
ZORVEX_API bool LLoadTextUnicode(const char* path, LStringLongTemplate<char>& out);

/// UTF-16 or UTF-8 by the byte-order mark, which is not part of the text. A file without one is
/// UTF-8 and is taken as it is, unchecked. An odd last byte of UTF-16 is completed by a zero.
ZORVEX_API bool LLoadTextAutoChar(const char* path, LStringLongTemplate<char>& out);

/// Replaces what the file has, or creates it for all users as far as the umask lets it, with one
/// write, and marks it as UTF-8 (LFile::SetFileAttributeTextEncodingUTF8).
///
/// True when it was marked, whatever became of the text: that is deliberate, and also tried when
/// the file could not be opened. Where the file cannot have such attributes, true when all of the
/// text was written.
ZORVEX_API bool LSaveText(const char* path, const char* text);
/// All of a string, zeros included.
ZORVEX_API bool LSaveText(const char* path, const LStringLongTemplate<char>& text);

/// The same, behind what the file has.
ZORVEX_API bool LSaveAppendText(const char* path, const char* text);
ZORVEX_API bool LSaveAppendText(const char* path, const LStringLongTemplate<char>& text);

/// Replaces what the file has, or creates it, with UTF-16 in the machine's byte order behind a
/// byte-order mark, converted as by LCopyUnicodeFromUTF8. It is not marked as UTF-8. False only
/// when the file cannot be opened.
ZORVEX_API bool LSaveTextAsUnicodeBOM(const char* path, const LStringLongTemplate<char>& text);

#endif  // ZORVEX_FOUNDATION_TEXT_TEXTFILE_H
