// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_URICODEC_H
#define ZORVEX_FOUNDATION_STORE_URICODEC_H

#include <cstdint>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringwriter.h>

/// \file
/// The encoding of names and values in query strings. Texts are terminated, borrowed for the call,
/// and not part of the writer's target; null reads as the empty text. The writers' targets are not
/// terminated. Exists for the three writers of `char`. Growing targets throw std::bad_alloc.

/// Writes the bytes that `text` encodes, up to the terminator or one of the bytes in `stopChars`.
/// Returns the place of that byte in `text`.
///
/// '+' is a space, "%4a" the byte 0x4a. A first digit that is none counts as 0, a second one that
/// is none adds nothing ("%4G" is 0x40); both are consumed whatever they are, stop bytes too. The
/// byte 0 ("%00") is dropped, and so is a '%' that the end of the text leaves with fewer than two
/// bytes.
template <typename Writer, typename Char>
ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(Writer& writer, const Char* text,
                                                  const Char* stopChars);
/// The same with one stop byte.
template <typename Writer, typename Char>
ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(Writer& writer, const Char* text, Char stopChar);

/// Writes `text` with every byte but letters, digits and `!-._~` as '%' and two upper-case
/// hexadecimal digits. A space is "%20", never '+'; that '!' stays is deliberate.
template <typename Writer, typename Char>
ZORVEX_API void LURIEncodeToWriter(Writer& writer, const Char* text);

extern template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(LStringLongTemplateWriter<char>&,
                                                                  const char*, const char*);
extern template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(LStringLongTemplateWriter<char>&,
                                                                  const char*, char);
extern template ZORVEX_API void LURIEncodeToWriter(LStringLongTemplateWriter<char>&, const char*);
extern template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(
    LStringLongTemplateAppender<char>&, const char*, const char*);
extern template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(
    LStringLongTemplateAppender<char>&, const char*, char);
extern template ZORVEX_API void LURIEncodeToWriter(LStringLongTemplateAppender<char>&, const char*);
extern template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(
    LFixedLengthStringWriterTemplate<char>&, const char*, const char*);
extern template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(
    LFixedLengthStringWriterTemplate<char>&, const char*, char);
extern template ZORVEX_API void LURIEncodeToWriter(LFixedLengthStringWriterTemplate<char>&,
                                                   const char*);

#endif  // ZORVEX_FOUNDATION_STORE_URICODEC_H
