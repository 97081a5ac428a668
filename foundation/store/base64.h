// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_BASE64_H
#define ZORVEX_FOUNDATION_STORE_BASE64_H

#include <cstddef>
#include <utility>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/store/sizedarray.h>
#include <zorvex/foundation/text/stringwriter.h>

/// \file
/// Base64 with the standard alphabet (`+` and `/` last). What is said to exist for `char` exists
/// for no other type of character.

/// Flags of the encoders, to be combined.
inline constexpr unsigned int kBase64NoPadding = 1;     ///< leave the "=" at the end out
inline constexpr unsigned int kBase64NoLineBreaks = 2;  ///< leave the line breaks out

/// Writes the Base64 of `length` bytes into a writer; nothing when `data` is null. Unless a flag
/// says otherwise, CR LF follows every 76 characters made of whole groups of three bytes, also when
/// nothing else comes: what a group of one or two bytes gives at the end, "=" included, never has a
/// line break after it. Exists for the three writers of `char`; the third parameter keeps anything
/// else from being taken for a writer.
template <typename Char, typename Writer,
          typename = decltype(std::declval<Writer&>().AddChar(Char()))>
ZORVEX_API void LBase64Encode(const void* data, std::size_t length, Writer& writer,
                              unsigned int flags);

/// Replaces `out` by the Base64 of `length` bytes; they must not lie in `out`. Exists for `char`.
template <typename Char>
ZORVEX_API void LBase64Encode(const void* data, std::size_t length, LStringLongTemplate<Char>& out,
                              unsigned int flags);

/// The same into a buffer of 260 characters; what comes after 259 is dropped. Exists for `char`.
template <typename Char>
ZORVEX_API void LBase64Encode(const void* data, std::size_t length, Char* out, unsigned int flags);

/// Replaces the bytes in `out` by what `length` characters of Base64 mean, with or without "=" and
/// line breaks: every character outside the alphabet is passed over. A group of four characters may
/// be incomplete at the end; bits that make no whole byte are dropped. A zero that stands where a
/// group would begin ends the text before its length. A null text is the empty one.
///
/// The capacity of `out` becomes three for every group of four characters, begun or complete; its
/// count tells how many bytes there are. Exists for `char`.
template <typename Char>
ZORVEX_API void LBase64Decode(const Char* text, std::size_t length,
                              LSizedArray<unsigned char>& out);

/// Number of characters that suffice for the Base64 of `length` bytes, without a terminator: never
/// less than the encoder writes, but up to four more. 0 bytes are right for a length below 0, and
/// 2147483647 is the result when it would be larger.
ZORVEX_API int Base64EncodeGetRequiredLength(int length, unsigned int flags);

/// Value of a character of the alphabet, 0 to 63, or 4294967295.
ZORVEX_API unsigned int DecodeBase64Char(unsigned int character);

extern template ZORVEX_API void LBase64Encode<char>(const void*, std::size_t,
                                                    LStringLongTemplateWriter<char>&, unsigned int);
extern template ZORVEX_API void LBase64Encode<char>(const void*, std::size_t,
                                                    LStringLongTemplateAppender<char>&,
                                                    unsigned int);
extern template ZORVEX_API void LBase64Encode<char>(const void*, std::size_t,
                                                    LFixedLengthStringWriterTemplate<char>&,
                                                    unsigned int);
extern template ZORVEX_API void LBase64Encode<char>(const void*, std::size_t,
                                                    LStringLongTemplate<char>&, unsigned int);
extern template ZORVEX_API void LBase64Encode<char>(const void*, std::size_t, char*, unsigned int);
extern template ZORVEX_API void LBase64Decode<char>(const char*, std::size_t,
                                                    LSizedArray<unsigned char>&);

#endif  // ZORVEX_FOUNDATION_STORE_BASE64_H
