// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_STRINGHELPERS_H
#define ZORVEX_FOUNDATION_TEXT_STRINGHELPERS_H

#include <cstddef>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringwriter.h>

/// \file
/// Small things done to terminated text. Upper and lower case are those of the C library's locale,
/// character by character; bytes of longer UTF-8 sequences stay as they are in UTF-8 locales. Texts
/// are borrowed for the call. A null text reads as the empty one, and where the result goes into a
/// buffer, a null buffer or one of size 0 receives nothing.

/// Removes spaces (only those, no other blanks) at both ends, in place. Exists for `char`.
template <typename Char>
ZORVEX_API void LStringTrim(Char* text);
extern template ZORVEX_API void LStringTrim(char* text);

/// Removes spaces (only those) at the end, in place. Exists for `char`.
template <typename Char>
ZORVEX_API void LStringRemoveTrailingSpaces(Char* text);
extern template ZORVEX_API void LStringRemoveTrailingSpaces(char* text);

/// Removes characters with codes 1 to 31 (line ends and tabs, not spaces) at both ends, in place.
ZORVEX_API void LStringTrimFormatting(char* text);

/// The same at the end alone.
ZORVEX_API void LStringRemoveTrailingFormatting(char* text);

/// First place in `haystack` where `needle` stands in any case, or null. An empty needle stands at
/// the beginning. Null when either is null.
ZORVEX_API const char* tstristr(const char* haystack, const char* needle);
ZORVEX_API char* tstristr(char* haystack, const char* needle);
ZORVEX_API const wchar_t* tstristr(const wchar_t* haystack, const wchar_t* needle);
ZORVEX_API wchar_t* tstristr(wchar_t* haystack, const wchar_t* needle);

/// Compares the end of `text` with `ending` as strcmp does: 0 when `text` ends with it. -1 when
/// `text` is the shorter one.
ZORVEX_API int tstrcmpend(const char* text, const char* ending);

/// Turns every character into its lower or upper case, in place; returns `text`.
ZORVEX_API char* strlwr(char* text);
/// To upper case.
ZORVEX_API char* strupr(char* text);

/// Number of UTF-16 units before the terminator.
ZORVEX_API std::size_t lstrlen(const unsigned short* text);

/// Copies `source` up to the first character that occurs in `stops`, or all of it, into `out` (260
/// bytes), cut to 259 characters. Returns the number of characters before that place, those that
/// were cut among them. Exists for `char`.
template <typename Char>
ZORVEX_API std::size_t LParseGetToCharacters(const Char* source, const Char* stops, Char* out);
extern template ZORVEX_API std::size_t LParseGetToCharacters(const char* source, const char* stops,
                                                             char* out);

/// Replaces `line` by `text` up to its first LF or CR, or all of it. Returns the number of
/// characters in front of that place. Throws std::bad_alloc; `line` is then as it was.
ZORVEX_API std::size_t LParseGetToEndOfLine(const char* text, LStringLongTemplate<char>& line);

/// Copies what stands in `text` between the first `startTag` and the first `endTag` behind it, or
/// the end of `text` when there is none, into `out` of `outSize` bytes; a longer field is cut.
/// False when there is no `startTag`; `out` is empty then. A null tag stands nowhere.
ZORVEX_API bool LStringFindTextField(const char* text, const char* startTag, const char* endTag,
                                     char* out, std::size_t outSize);

/// Removes the first item "name=value" from an `&`-separated query, in place, with the `&` before
/// it. Returns the place in `query` where the item was, or null when there is none and nothing has
/// changed. "name=" is cut to 261 characters.
///
/// Two things are on purpose: removing the first item leaves the `&` behind it ("a=1&b=2" without
/// "a" is "&b=2"), and "name=" is found wherever it stands, also at the end of a longer name.
ZORVEX_API char* LRemoveHTTPItem(const char* name, char* query);

/// Reads the item of a comma-separated list that begins at `list + position` into `out` of
/// `outSize` bytes; a longer item is cut. `position` is moved behind the item and its comma, but
/// never over the end of the list, which is a terminator, line feed or carriage return.
///
/// Double quotes are left out; between them commas and spaces are part of the item. Other spaces
/// at both ends of the item, or of what fits into `out`, are left out.
///
/// False when the item is empty, so also at the end of the list: a loop that is to go on behind an
/// empty item looks at `position`. An item of which nothing fits into `out` is not an empty one.
ZORVEX_API bool GetCSVListItem(const char* list, std::size_t& position, char* out,
                               std::size_t outSize);

/// Appends `text`, with ampersand, less-than sign, greater-than sign and double quote as entities.
/// Every other character, the apostrophe too, is copied. Exists for the three writers of `char`.
template <typename Writer, typename Char>
ZORVEX_API void LHTMLEncodeToWriterSimple(Writer& writer, const Char* text);
extern template ZORVEX_API void LHTMLEncodeToWriterSimple(LStringLongTemplateWriter<char>& writer,
                                                          const char* text);
extern template ZORVEX_API void LHTMLEncodeToWriterSimple(LStringLongTemplateAppender<char>& writer,
                                                          const char* text);
extern template ZORVEX_API void LHTMLEncodeToWriterSimple(
    LFixedLengthStringWriterTemplate<char>& writer, const char* text);

/// Seeds the C library's `rand` from the time of day.
ZORVEX_API void randomize();

/// Writes `length` random lower-case letters and a terminator: `out` has room for `length + 1`.
/// Calls ::randomize. Who knows about when it was made can find the password out; it is for
/// passwords that are changed at once, never for keys.
ZORVEX_API void LStringGenerateRandomPassword(char* out, std::size_t length);

#endif  // ZORVEX_FOUNDATION_TEXT_STRINGHELPERS_H
