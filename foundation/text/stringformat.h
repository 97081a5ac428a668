// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_STRINGFORMAT_H
#define ZORVEX_FOUNDATION_TEXT_STRINGFORMAT_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>
#include <zorvex/foundation/text/stringwriter.h>

/// \file
/// The library's own printf: one engine, tplprintf, behind a function for each kind of target. It
/// knows a part of the C library's grammar, deliberately no more:
///
///     % [0] [width] [. [precision]] [l | ll | L | z] conversion
///
/// | conversion    | argument                           | text                               |
/// |---------------|------------------------------------|------------------------------------|
/// | d i u x X o c | an integer, a 64-bit slot          | as the C library prints it         |
/// | p             | a pointer                          | the same                           |
/// | e f g         | double, or long double after L     | the same, in its locale            |
/// | s             | `const char*`                      | all of it, never padded or cut;    |
/// |               |                                    | nothing for null                   |
/// | %             | none                               | %                                  |
/// | C S           | a wide character, a wide text      | as the C library prints it         |
/// | E F G a A     | a slot                             | the double that has these bits     |
/// | flags, * h j  | a slot                             | nothing: "%-5d" gives "5d"         |
/// | t ' n         |                                    |                                    |
/// | any other     | a slot                             | itself, as it stands in the format |
///
/// Flags are - + # and the space.
///
/// Without a modifier an integer is the low 32 bits of its slot, with one it is all 64. Characters
/// between '%' and the conversion in another order than above, "%5.3.2d", are given as they stand;
/// 257 of them are kept, the others dropped. The text of a conversion other than `s` is cut after
/// 271 characters and ends at a NUL. A '%' that the format ends behind gives nothing. A
/// null format gives nothing and the result 0.
///
/// Arguments are not checked: one that does not fit its conversion, or is missing, is undefined
/// behaviour as with the C library's printf. Nothing is told of failures: what does not fit a fixed
/// buffer is dropped, and std::bad_alloc leaves a call that has no memory to grow a string.
///
/// All may be called from any thread, on targets that no other thread uses. Nothing is allocated
/// but by a string that grows.

/// The engine: writes the formatted text and returns the length of the writer's whole text after
/// it. Does not terminate it. Exists for the three writers of `char`. `arguments` is left as it is.
template <typename Writer, typename Char>
ZORVEX_API std::uint64_t tplprintf(Writer& writer, const Char* format, va_list arguments);

extern template ZORVEX_API std::uint64_t tplprintf(LStringLongTemplateWriter<char>&, const char*,
                                                   va_list);
extern template ZORVEX_API std::uint64_t tplprintf(LStringLongTemplateAppender<char>&, const char*,
                                                   va_list);
extern template ZORVEX_API std::uint64_t tplprintf(LFixedLengthStringWriterTemplate<char>&,
                                                   const char*, va_list);

/// Replaces the text of the string; returns its new length. The string gets room for 260 characters
/// and grows by a factor of four. It is terminated in any case, with what there is by then when
/// there is no memory for the rest.
///
/// A `%s` argument may be part of the string's own text when it is the first thing that the format
/// writes, or when the string had room for fewer than 260: only else is the text overwritten before
/// it is read.
ZORVEX_API std::uint64_t sprintf(LStringLongTemplate<char>& string, const char* format, ...);

/// Appends to the text of the string; returns its new length (0 for a null format). Grows and
/// terminates as above. `%s` arguments may be part of the string's own text: that at the call
/// counts.
ZORVEX_API std::uint64_t tsprintfappend(LStringLongTemplate<char>& string, const char* format, ...);

/// Formats into a buffer of `size` characters, the terminator among them; what is longer is cut.
/// Returns the number of characters stored, without the terminator: not, as the C library does, the
/// length that the text would have had. `size` must not be 0, which stands for a buffer without
/// end.
ZORVEX_API std::uint64_t tplsnprintf(char* buffer, std::size_t size, const char* format, ...);

/// Appends to what the writer has; returns its length after that. Does not terminate the text.
ZORVEX_API std::uint64_t sprintf(LFixedLengthStringWriterTemplate<char>& writer, const char* format,
                                 ...);

/// Prints to the standard output; the C library's printf, with the whole of its grammar and its
/// result.
ZORVEX_API int tprintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif  // ZORVEX_FOUNDATION_TEXT_STRINGFORMAT_H
