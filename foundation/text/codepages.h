// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_CODEPAGES_H
#define ZORVEX_FOUNDATION_TEXT_CODEPAGES_H

#include <cstddef>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// \file
/// UTF-8 from and to older character sets: "From" makes UTF-8, "To" makes the other one. They are
/// those of the system's iconv.
///
/// With a `size`, `dest` has room for that many bytes, and for one at least. Conversion stops at
/// the first character that is invalid, is unknown in the other set or does not fit; what was
/// converted so far stays. It is terminated where there is room for that: a result of exactly
/// `size` bytes on purpose is not. Where iconv does not have the set, the result is empty. No
/// failure is told.
///
/// With a string, its text is replaced and its new length returned. A From function makes room for
/// 6 bytes for each byte of the source and one more, which nothing exceeds; a To function for the
/// source's bytes and one more: a result that is longer is cut to `strlen(src)` bytes.
///
/// A null source is the empty text. `src` must not be part of `dest`. Any thread; but for
/// std::bad_alloc of a string that cannot grow, nothing throws.

ZORVEX_API void LCopyFromISO88591(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyFromISO88591(LStringLongTemplate<char>& dest, const char* src);
/// With a size of strlen(src) + 1.
ZORVEX_API void LCopyFromISO88591(char* dest, const char* src);
ZORVEX_API void LCopyToISO88591(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyToISO88591(LStringLongTemplate<char>& dest, const char* src);
/// With a size of strlen(src) + 1.
ZORVEX_API void LCopyToISO88591(char* dest, const char* src);

/// From Windows-1252, Western European.
ZORVEX_API void LCopyFromWIN1252(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyFromWIN1252(LStringLongTemplate<char>& dest, const char* src);
/// To Windows-1252.
ZORVEX_API void LCopyToWIN1252(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyToWIN1252(LStringLongTemplate<char>& dest, const char* src);

/// Shift JIS of the standard, whose 0x5C is a yen sign, not code page 932.
ZORVEX_API void LCopyFromSHIFTJIS932(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyFromSHIFTJIS932(LStringLongTemplate<char>& dest, const char* src);
/// To Shift-JIS.
ZORVEX_API void LCopyToSHIFTJIS932(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyToSHIFTJIS932(LStringLongTemplate<char>& dest, const char* src);

/// From ISO-2022-JP, Japanese in mails.
ZORVEX_API void LCopyFromISO2022JP(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyFromISO2022JP(LStringLongTemplate<char>& dest, const char* src);
/// To ISO-2022-JP.
ZORVEX_API void LCopyToISO2022JP(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyToISO2022JP(LStringLongTemplate<char>& dest, const char* src);

/// From EUC-KR, Korean.
ZORVEX_API void LCopyFromEUCKR(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyFromEUCKR(LStringLongTemplate<char>& dest, const char* src);
/// To EUC-KR.
ZORVEX_API void LCopyToEUCKR(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyToEUCKR(LStringLongTemplate<char>& dest, const char* src);

/// From ISO 8859-5, Cyrillic.
ZORVEX_API void LCopyFromISO88595(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyFromISO88595(LStringLongTemplate<char>& dest, const char* src);
/// To ISO 8859-5.
ZORVEX_API void LCopyToISO88595(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyToISO88595(LStringLongTemplate<char>& dest, const char* src);

/// From GB 18030, Chinese.
ZORVEX_API void LCopyFromGB18030(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyFromGB18030(LStringLongTemplate<char>& dest, const char* src);
/// To GB 18030.
ZORVEX_API void LCopyToGB18030(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyToGB18030(LStringLongTemplate<char>& dest, const char* src);

/// From KOI8-R, Russian.
ZORVEX_API void LCopyFromKOI8R(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyFromKOI8R(LStringLongTemplate<char>& dest, const char* src);
/// Always gives the empty text, deliberately: it asks iconv for a set that there is not.
ZORVEX_API void LCopyToKOI8R(char* dest, const char* src, std::size_t size);
ZORVEX_API std::size_t LCopyToKOI8R(LStringLongTemplate<char>& dest, const char* src);

/// What all of the above with a `size` do, for any two sets by the names that iconv knows them by.
/// Exists for `char`.
template <typename Dest, typename Source>
ZORVEX_API void LCopyIconvFixedLength(Dest* dest, const Source* src, std::size_t size,
                                      const char* toName, const char* fromName);
extern template ZORVEX_API void LCopyIconvFixedLength(char* dest, const char* src, std::size_t size,
                                                      const char* toName, const char* fromName);

/// UTF-8 from the set that Windows knows by a number, such as 1252. Reads `n` bytes, or up to the
/// terminator when that comes first. All or nothing: the result is empty when the bytes are not a
/// whole and valid text of that set, when the number is unknown or iconv does not have the set, and
/// when the result with its terminator would have more than 260 bytes. `dest` deliberately has room
/// for 260 bytes, whatever `n` is.
///
/// 65001 is UTF-8, which is copied unchecked and cut to `n` - 1 bytes: there `n` is the size of
/// `dest`, and 0 leaves it alone.
ZORVEX_API void LCopyFromSpecificCodePage(unsigned int codePage, char* dest, const char* src,
                                          std::size_t n);

/// The same for all of a string, zeros included; also limited to 260 bytes, but for 65001. The
/// string has room for 6 bytes for each byte of the source and one more. Returns its new length.
ZORVEX_API std::size_t LCopyFromSpecificCodePage(unsigned int codePage,
                                                 LStringLongTemplate<char>& dest,
                                                 const LStringLongTemplate<char>& src);

/// Copies the text as it is, cut to `n` - 1 bytes: on purpose this direction converts nothing, and
/// the number is not looked at. Returns 0.
ZORVEX_API unsigned int LCopyToSpecificCodePage(unsigned int codePage, char* dest, const char* src,
                                                std::size_t n);

#endif  // ZORVEX_FOUNDATION_TEXT_CODEPAGES_H
