// SPDX-License-Identifier: MIT
#include <arpa/inet.h>

#include "foundation/text/charsets.h"
#include "foundation/text/unitlength.h"
#include "foundation/text/utf8decode.h"
#include "foundation/text/utf8encode.h"

static_assert(sizeof(wchar_t) == 4, "UTF-32 texts are wchar_t");

namespace {

constexpr std::size_t kDefaultSize = 260;

template <typename Dest, typename Source>
void CopyUnits(Dest* dest, const Source* src, std::size_t size) {
  if (size == 0) return;
  const std::size_t length = LengthUpTo(src, size - 1);
  for (std::size_t i = 0; i < length; ++i)
    dest[i] = static_cast<Dest>(src[i]);  // NOLINT(bugprone-signed-char-misuse): code points
  dest[length] = 0;
}

// Returns the number of bytes in front of the first terminator, of which there may be two.
std::size_t EncodeSized(char* dest, const unsigned short* src, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t units = LengthUpTo(src, size - 1);
  const std::size_t length = EncodeUtf8(dest, src, units, size - 1).length;
  dest[length] = '\0';
  dest[size - 1] = '\0';
  return length;
}

std::size_t EncodeIntoString(LStringLongTemplate<char>& dest, const unsigned short* src,
                             std::size_t size) {
  dest.SetLength(0);  // nothing of it need be kept
  dest.GrowToSize(size);
  dest.SetLength(EncodeSized(dest.Buffer(), src, size));
  return dest.Length();
}

}  // namespace

unsigned int LCopyUTF32FromUTF8Native(wchar_t* dest, const char* src, std::size_t size) {
  return DecodeUtf8(dest, src, size).result;
}

unsigned int LCopyUTF32FromUTF8(wchar_t* dest, const char* src, std::size_t size) {
  return LCopyUTF32FromUTF8Native(dest, src, size);
}

unsigned int LCopyUTF8FromUTF32Native(char* dest, const wchar_t* src, std::size_t /*size*/) {
  const EncodedUtf8 encoded = EncodeUtf8(dest, src, LengthUpTo(src, kNoLimit), kNoLimit);
  dest[encoded.length] = '\0';
  return encoded.isReplaced ? kUtfInvalid : kUtfComplete;
}

unsigned int LCopyUTF8FromUTF32(char* dest, const wchar_t* src, std::size_t size) {
  return LCopyUTF8FromUTF32Native(dest, src, size);
}

void LCopyUnicodeFromUTF8(unsigned short* dest, const char* src, std::size_t size) {
  if (size != 0) DecodeUtf8(dest, src, size);
}

void LCopyUnicodeFromUTF8(unsigned short* dest, const char* src) {
  DecodeUtf8(dest, src, kDefaultSize);
}

std::size_t LCopyUnicodeFromUTF8(LStringLongTemplate<unsigned short>& dest,
                                 const LStringLongTemplate<char>& src) {
  const std::size_t size = src.Length() + 1;
  dest.SetLength(0);  // nothing of it need be kept
  dest.GrowToSize(size);
  DecodeUtf8(dest.Buffer(), src.Text(), size);
  dest.SetLength(LengthUpTo(dest.Buffer(), size));  // a code point may have been cut to 0
  return dest.Length();
}

void LCopyUTF8FromUnicode(char* dest, const unsigned short* src, std::size_t size) {
  EncodeSized(dest, src, size);
}

void LCopyUTF8FromUnicode(char* dest, const unsigned short* src) {
  EncodeSized(dest, src, kDefaultSize);
}

std::size_t LCopyUTF8FromUnicode(LStringLongTemplate<char>& dest,
                                 const LStringLongTemplate<unsigned short>& src) {
  return EncodeIntoString(dest, src.Text(), src.Length() + 1);
}

std::size_t LCopyFromUnicode(LStringLongTemplate<char>& dest, const unsigned short* src) {
  return EncodeIntoString(dest, src, 6 * LengthUpTo(src, kNoLimit) + 1);
}

void LCopyUnicodeFromUTF32(unsigned short* dest, const wchar_t* src, std::size_t size) {
  CopyUnits(dest, src, size);
}

void LCopyUTF32FromUnicode(wchar_t* dest, const unsigned short* src, std::size_t size) {
  CopyUnits(dest, src, size);
}

std::size_t LCopyToBigEndianUnicode(unsigned short* dest, const unsigned short* src,
                                    std::size_t count, bool terminate) {
  const std::size_t length = LengthUpTo(src, count);
  for (std::size_t i = 0; i < length; ++i)
    dest[i] = htons(src[i]);
  if (terminate) {
    dest[length] = 0;
    return length;
  }
  for (std::size_t i = length; i < count; ++i)
    dest[i] = htons(' ');
  return count;
}
