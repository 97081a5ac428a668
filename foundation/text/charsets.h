// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_CHARSETS_H
#define ZORVEX_FOUNDATION_TEXT_CHARSETS_H

#include <cstddef>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// \file
/// UTF-8 to and from UTF-16 ("Unicode", `unsigned short`), UTF-32 (`wchar_t`) and single-byte Latin
/// text ("Ansi"), and what is counted in UTF-8 texts.
///
/// UTF-16 text is one unit for each code point, in both directions: a code point above U+FFFF is
/// cut to its low 16 bits, and each half of a surrogate pair is a code point of its own. Pairs are
/// never made or joined. That is deliberate, stored texts depend on it.
///
/// Texts are terminated and borrowed for the call; nothing behind a terminator is read. A source
/// that is null, or a string without a buffer, is the empty text. A `dest` is never part of `src`
/// unless it says so. A `size` is the number of units that `dest` has room for, with the
/// terminator; where nothing else is said, a size of 0 leaves `dest` alone. The forms that fill a
/// string return its new length and throw std::bad_alloc when it cannot grow; nothing else throws.
/// Every function may be called from any thread.

// UTF-32

/// What converting between UTF-8 and UTF-32 came to.
inline constexpr unsigned int kUtfComplete = 0;  ///< all of it was converted
inline constexpr unsigned int kUtfCut = 1;       ///< stopped because the size was reached
inline constexpr unsigned int kUtfInvalid = 2;   ///< stopped at invalid UTF-8, or a value replaced

/// Decodes UTF-8 up to its end, to the first character that is not well-formed UTF-8, or to the
/// one with which `size` or more bytes of the source would have been read: at most `size` - 1
/// bytes are, so the result always fits. What was decoded so far is terminated (also with a size of
/// 0: `dest` has room for one unit at least). Nothing is replaced and nothing is skipped. Returns
/// one of the results above.
ZORVEX_API unsigned int LCopyUTF32FromUTF8Native(wchar_t* dest, const char* src, std::size_t size);
/// The same.
ZORVEX_API unsigned int LCopyUTF32FromUTF8(wchar_t* dest, const char* src, std::size_t size);

/// Encodes code points in 1 to 4 bytes each, surrogates like others in 3. A value above U+10FFFF
/// becomes U+FFFD, and the result is then kUtfInvalid, else kUtfComplete. On purpose `size` is not
/// looked at: `dest` has room for 4 bytes for each code point and one more.
ZORVEX_API unsigned int LCopyUTF8FromUTF32Native(char* dest, const wchar_t* src, std::size_t size);
/// The same.
ZORVEX_API unsigned int LCopyUTF8FromUTF32(char* dest, const wchar_t* src, std::size_t size);

// UTF-16

/// Decodes as LCopyUTF32FromUTF8 does: a text with more than `size` - 1 bytes is cut, and nothing
/// comes of what is behind invalid UTF-8. U+10000 and its like are cut to a unit of 0, which ends
/// the text for whoever reads it.
ZORVEX_API void LCopyUnicodeFromUTF8(unsigned short* dest, const char* src, std::size_t size);
/// With a size of 260.
ZORVEX_API void LCopyUnicodeFromUTF8(unsigned short* dest, const char* src);
/// With the source's length + 1 as the size, so that nothing is cut.
ZORVEX_API std::size_t LCopyUnicodeFromUTF8(LStringLongTemplate<unsigned short>& dest,
                                            const LStringLongTemplate<char>& src);

/// Encodes at most `size` - 1 units in 1 to 3 bytes each and cuts that to `size` - 1 bytes, if need
/// be inside a character. The last byte of `dest` is set to 0 whatever the length of the text.
ZORVEX_API void LCopyUTF8FromUnicode(char* dest, const unsigned short* src, std::size_t size);
/// With a size of 260.
ZORVEX_API void LCopyUTF8FromUnicode(char* dest, const unsigned short* src);
/// With the source's length + 1 as the size. On purpose that is too little for other text than
/// ASCII, which is cut to as many bytes as the source has units; LCopyFromUnicode does not cut.
ZORVEX_API std::size_t LCopyUTF8FromUnicode(LStringLongTemplate<char>& dest,
                                            const LStringLongTemplate<unsigned short>& src);
/// All of a text. The string has room for 6 bytes for each unit and one more afterwards.
ZORVEX_API std::size_t LCopyFromUnicode(LStringLongTemplate<char>& dest, const unsigned short* src);

/// Copies at most `size` - 1 units, each by itself, and terminates them.
ZORVEX_API void LCopyUnicodeFromUTF32(unsigned short* dest, const wchar_t* src, std::size_t size);
/// The same the other way.
ZORVEX_API void LCopyUTF32FromUnicode(wchar_t* dest, const unsigned short* src, std::size_t size);

/// Copies units up to the terminator, `count` at most, with their bytes swapped from the machine's
/// order to big endian. With `terminate` a 0 follows the last one, so that `dest` has room for
/// `count` + 1 units, and the number of copied ones is returned. Without it, big-endian spaces fill
/// `dest` up to `count`, which is returned. `dest` may be `src`.
ZORVEX_API std::size_t LCopyToBigEndianUnicode(unsigned short* dest, const unsigned short* src,
                                               std::size_t count, bool terminate);

// Ansi. The two directions differ on purpose: read as Windows-1252, written as ISO-8859-1. All or
// nothing: a text of which one character has no other form gives the empty text.

/// UTF-8 to ISO-8859-1, by way of UTF-16 with the same size, so that a longer text is cut first.
/// `dest` is terminated with a size of 0, too, and may be `src`.
ZORVEX_API void LCopyAnsiFromUTF8(char* dest, const char* src, std::size_t size);

/// Windows-1252 to UTF-8, by way of UTF-16 for which there are `size` bytes, not units. So the
/// result is empty, on purpose, when the text with its terminator has more than `size` / 2
/// characters. What it becomes in UTF-8 is cut to `size` - 1 bytes. `dest` may be `src`.
ZORVEX_API void LCopyUTF8FromAnsi(char* dest, const char* src, std::size_t size);

/// Windows-1252 to UTF-16. Deliberately the string's room is made in units and told in bytes, its
/// length + 1 of them, as in LCopyUTF8FromAnsi: no text but the empty one fits, the result is
/// always empty.
ZORVEX_API std::size_t LCopyUnicodeFromAnsi(LStringLongTemplate<unsigned short>& dest,
                                            const LStringLongTemplate<char>& src);

/// UTF-16 to ISO-8859-1.
ZORVEX_API std::size_t LCopyAnsiFromUnicode(LStringLongTemplate<char>& dest,
                                            const unsigned short* src);
ZORVEX_API std::size_t LCopyAnsiFromUnicode(LStringLongTemplate<char>& dest,
                                            const LStringLongTemplate<unsigned short>& src);

// Counting in UTF-8. A character's first byte alone says how many bytes it has, the others are not
// looked at but for the terminator: a last character that it cuts short ends there.

/// The bytes of the character that begins with `lead`: 1 below 0xC0, 2 below 0xE0, 3 below 0xF0, 4
/// below 0xF8, 5 below 0xFC, else 6.
ZORVEX_API std::size_t LGetUTF8CharacterByteCount(unsigned char lead);

/// Number of characters.
ZORVEX_API std::size_t utf8strlen(const char* text);

/// How many bytes the first `charIndex` characters have; of a shorter text, all its bytes.
ZORVEX_API std::size_t LCharsetsUTF8CharIndexToByteIndex(const char* text, std::size_t charIndex);

/// How many characters have `byteIndex` bytes or more together; of a shorter text, all of them.
ZORVEX_API std::size_t LCharsetsUTF8ByteIndexToCharIndex(const char* text, std::size_t byteIndex);

/// Copies whole characters as long as they fit into `size` - 1 bytes, and stops at the first one
/// that does not fit or that the terminator cuts short. Always terminates (with a size of 0 too:
/// `dest` has room for one byte at least). Returns the number of bytes in front of the terminator.
ZORVEX_API std::size_t utf8strlcpy(char* dest, const char* src, std::size_t size);

/// How far `place` is from the first byte of its character: the number of continuation bytes there
/// and directly in front of it. A first byte must stand somewhere in front of `place`, or there.
ZORVEX_API std::size_t LGetUTF8CharacterByteIndex(const char* place);

// Classes

/// False for the letters of the scripts written from right to left and for U+200F, after a table
/// that is fixed; true for every other value.
ZORVEX_API bool LCharsetsIsLeftToRight(wchar_t codePoint);

/// Whether no byte is 0x80 or above; so of the empty text.
ZORVEX_API bool LCharsetsIsValidASCII(const char* text);

#endif  // ZORVEX_FOUNDATION_TEXT_CHARSETS_H
