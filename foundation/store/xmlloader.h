// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLLOADER_H
#define ZORVEX_FOUNDATION_STORE_XMLLOADER_H

#include <cstdint>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>
#include <zorvex/foundation/threads/processinterface.h>

/// Where a load of an XML text is. It is for one load; a new one begins with
/// `{text, error, 0, 1, 1, &process}` and an empty message. Exists for `char`.
template <typename Char>
struct LXMLLoaderTemplate {
  const Char* text;             ///< all of the text, terminated
  Char* error;                  ///< 260 bytes of the caller's, terminated
  std::uint64_t position;       ///< index of the next byte
  std::uint32_t line;           ///< of the next byte, from 1
  std::uint32_t column;         ///< of the next byte, from 1; counted in bytes
  LProcessInterface* progress;  ///< can stop the load

  /// Reads one character. Every line end (CR, LF, CR LF, LF CR) reads as one LF. 0 at the end of
  /// the text, any number of times.
  [[nodiscard]] Char GetChar();

  /// Keeps "Ln %d, Col %d: %s" with the place where the load is, cut to 259 bytes. Only the first
  /// error of a load is kept: nothing happens when there is a message already.
  void SetError(const Char* message);
};

template <>
ZORVEX_API char LXMLLoaderTemplate<char>::GetChar();
template <>
ZORVEX_API void LXMLLoaderTemplate<char>::SetError(const char* message);

/// Reads the name of a tag behind its "<", or the name of an attribute, into 260 bytes at `name`;
/// what is longer is cut to 259. Returns the character that ended it, which is read too: '/', '=',
/// '>', space, tab or LF, or 0 at the end of the text.
///
/// Quoted parts may contain those, and count without their quotes. Entities are decoded. "!--",
/// "!DOCTYPE" and "![CDATA[" are complete at once, whatever follows; the result is then their last
/// character.
ZORVEX_API char XMLLoadTag(LXMLLoaderTemplate<char>& loader, char* name);

/// Reads the value of an attribute behind its "=", in the same way but of any length. One space in
/// front of it is skipped. Returns the character that ended it. May throw std::bad_alloc.
ZORVEX_API char XMLLoadAttribute(LXMLLoaderTemplate<char>& loader,
                                 LStringLongTemplate<char>& value);

/// Decodes an entity, of which the "&" has been read, into at most 3 bytes and a terminator:
///
///  - "amp", "gt", "lt", "quot" and "apos"; case counts.
///  - "#x" and hexadecimal digits, or "#" and a decimal number as strtol reads it: that code point,
///    cut to 16 bits, in UTF-8. Nothing when it is 0.
///  - Any other name gives the "&" alone. That the name is dropped is deliberate.
///
/// A name of more than 23 bytes, or one that a blank or the end of the text comes into, is an error
/// and gives nothing; what was read so far stays read.
ZORVEX_API void XMLAmpChar(LXMLLoaderTemplate<char>& loader, char* out);

#endif  // ZORVEX_FOUNDATION_STORE_XMLLOADER_H
