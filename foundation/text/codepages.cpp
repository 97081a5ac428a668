// SPDX-License-Identifier: MIT
#include "foundation/text/codepages.h"

#include <cstring>

#include "foundation/text/iconvtext.h"
#include "foundation/text/singlebyte.h"

namespace {

constexpr char kUtf8[] = "UTF-8";
constexpr char kIso88591Name[] = "ISO-8859-1";
constexpr char kIso88595Name[] = "ISO-8859-5";
constexpr char kKoi8RName[] = "KOI8-R";
constexpr char kWindows1252Name[] = "WINDOWS-1252";

struct CodePage {
  const char* from;  // its names for iconv, in each direction
  const char* to;
  const SingleByteSet& (*table)();  // null where there is none
};

// Made with the first conversion.
template <const char* name>
const SingleByteSet& TableOf() {
  static const SingleByteSet table(name);
  return table;
}

constexpr CodePage kIso88591 = {kIso88591Name, kIso88591Name, TableOf<kIso88591Name>};
constexpr CodePage kWindows1252 = {kWindows1252Name, kWindows1252Name, TableOf<kWindows1252Name>};
constexpr CodePage kShiftJis = {"SHIFT-JIS", "SHIFT-JIS", nullptr};
constexpr CodePage kIso2022Jp = {"ISO-2022-JP", "ISO-2022-JP", nullptr};
constexpr CodePage kEucKr = {"EUC-KR", "EUC-KR", nullptr};
constexpr CodePage kIso88595 = {kIso88595Name, kIso88595Name, TableOf<kIso88595Name>};
constexpr CodePage kGb18030 = {"GB18030", "GB18030", nullptr};
constexpr CodePage kKoi8R = {kKoi8RName, kKoi8RName, TableOf<kKoi8RName>};
// Deliberately a name that iconv does not know: nothing is written in this set.
constexpr CodePage kKoi8RNone = {kKoi8RName, "KOI8-R0", nullptr};

std::size_t LengthOf(const char* text) {
  return text ? std::strlen(text) : 0;
}

// The whole source with its terminator, which brings sets with shifts back to their first state.
TextSpans SpansOf(char* dest, const char* src, std::size_t size) {
  const char* const text = src ? src : "";
  return {dest, dest + size, text, text + std::strlen(text) + 1};
}

void ConvertByIconv(TextSpans& spans, const char* toName, const char* fromName) {
  IconvConversion conversion(toName, fromName);
  conversion.Convert(spans.dest, static_cast<std::size_t>(spans.destEnd - spans.dest), spans.src,
                     static_cast<std::size_t>(spans.srcEnd - spans.src));
}

void Terminate(const TextSpans& spans) {
  if (spans.dest != spans.destEnd) *spans.dest = '\0';
}

void From(const CodePage& page, char* dest, const char* src, std::size_t size) {
  dest[0] = '\0';
  TextSpans spans = SpansOf(dest, src, size);
  if (!page.table || !page.table().ToUtf8(spans)) ConvertByIconv(spans, kUtf8, page.from);
  Terminate(spans);
}

void To(const CodePage& page, char* dest, const char* src, std::size_t size) {
  dest[0] = '\0';
  TextSpans spans = SpansOf(dest, src, size);
  if (!page.table || !page.table().FromUtf8(spans)) ConvertByIconv(spans, page.to, kUtf8);
  Terminate(spans);
}

using Conversion = void (*)(const CodePage& page, char* dest, const char* src, std::size_t size);

std::size_t IntoString(Conversion conversion, const CodePage& page, LStringLongTemplate<char>& dest,
                       const char* src, std::size_t size) {
  dest.SetLength(0);  // nothing of it need be kept
  dest.GrowToSize(size);
  conversion(page, dest.Buffer(), src, size);
  dest.Buffer()[size - 1] = '\0';  // where the result would have been left unterminated
  dest.SetLength(std::strlen(dest.Buffer()));
  return dest.Length();
}

std::size_t From(const CodePage& page, LStringLongTemplate<char>& dest, const char* src) {
  return IntoString(From, page, dest, src, 6 * LengthOf(src) + 1);
}

// On purpose no more room than the source has.
std::size_t To(const CodePage& page, LStringLongTemplate<char>& dest, const char* src) {
  return IntoString(To, page, dest, src, LengthOf(src) + 1);
}

}  // namespace

template <typename Dest, typename Source>
void LCopyIconvFixedLength(Dest* dest, const Source* src, std::size_t size, const char* toName,
                           const char* fromName) {
  dest[0] = '\0';
  TextSpans spans = SpansOf(dest, src, size);
  ConvertByIconv(spans, toName, fromName);
  Terminate(spans);
}

template void LCopyIconvFixedLength(char* dest, const char* src, std::size_t size,
                                    const char* toName, const char* fromName);

void LCopyFromISO88591(char* dest, const char* src, std::size_t size) {
  From(kIso88591, dest, src, size);
}

std::size_t LCopyFromISO88591(LStringLongTemplate<char>& dest, const char* src) {
  return From(kIso88591, dest, src);
}

void LCopyFromISO88591(char* dest, const char* src) {
  LCopyFromISO88591(dest, src, LengthOf(src) + 1);
}

void LCopyToISO88591(char* dest, const char* src, std::size_t size) {
  To(kIso88591, dest, src, size);
}

std::size_t LCopyToISO88591(LStringLongTemplate<char>& dest, const char* src) {
  return To(kIso88591, dest, src);
}

void LCopyToISO88591(char* dest, const char* src) {
  LCopyToISO88591(dest, src, LengthOf(src) + 1);
}

void LCopyFromWIN1252(char* dest, const char* src, std::size_t size) {
  From(kWindows1252, dest, src, size);
}

std::size_t LCopyFromWIN1252(LStringLongTemplate<char>& dest, const char* src) {
  return From(kWindows1252, dest, src);
}

void LCopyToWIN1252(char* dest, const char* src, std::size_t size) {
  To(kWindows1252, dest, src, size);
}

std::size_t LCopyToWIN1252(LStringLongTemplate<char>& dest, const char* src) {
  return To(kWindows1252, dest, src);
}

void LCopyFromSHIFTJIS932(char* dest, const char* src, std::size_t size) {
  From(kShiftJis, dest, src, size);
}

std::size_t LCopyFromSHIFTJIS932(LStringLongTemplate<char>& dest, const char* src) {
  return From(kShiftJis, dest, src);
}

void LCopyToSHIFTJIS932(char* dest, const char* src, std::size_t size) {
  To(kShiftJis, dest, src, size);
}

std::size_t LCopyToSHIFTJIS932(LStringLongTemplate<char>& dest, const char* src) {
  return To(kShiftJis, dest, src);
}

void LCopyFromISO2022JP(char* dest, const char* src, std::size_t size) {
  From(kIso2022Jp, dest, src, size);
}

std::size_t LCopyFromISO2022JP(LStringLongTemplate<char>& dest, const char* src) {
  return From(kIso2022Jp, dest, src);
}

void LCopyToISO2022JP(char* dest, const char* src, std::size_t size) {
  To(kIso2022Jp, dest, src, size);
}

std::size_t LCopyToISO2022JP(LStringLongTemplate<char>& dest, const char* src) {
  return To(kIso2022Jp, dest, src);
}

void LCopyFromEUCKR(char* dest, const char* src, std::size_t size) {
  From(kEucKr, dest, src, size);
}

std::size_t LCopyFromEUCKR(LStringLongTemplate<char>& dest, const char* src) {
  return From(kEucKr, dest, src);
}

void LCopyToEUCKR(char* dest, const char* src, std::size_t size) {
  To(kEucKr, dest, src, size);
}

std::size_t LCopyToEUCKR(LStringLongTemplate<char>& dest, const char* src) {
  return To(kEucKr, dest, src);
}

void LCopyFromISO88595(char* dest, const char* src, std::size_t size) {
  From(kIso88595, dest, src, size);
}

std::size_t LCopyFromISO88595(LStringLongTemplate<char>& dest, const char* src) {
  return From(kIso88595, dest, src);
}

void LCopyToISO88595(char* dest, const char* src, std::size_t size) {
  To(kIso88595, dest, src, size);
}

std::size_t LCopyToISO88595(LStringLongTemplate<char>& dest, const char* src) {
  return To(kIso88595, dest, src);
}

void LCopyFromGB18030(char* dest, const char* src, std::size_t size) {
  From(kGb18030, dest, src, size);
}

std::size_t LCopyFromGB18030(LStringLongTemplate<char>& dest, const char* src) {
  return From(kGb18030, dest, src);
}

void LCopyToGB18030(char* dest, const char* src, std::size_t size) {
  To(kGb18030, dest, src, size);
}

std::size_t LCopyToGB18030(LStringLongTemplate<char>& dest, const char* src) {
  return To(kGb18030, dest, src);
}

void LCopyFromKOI8R(char* dest, const char* src, std::size_t size) {
  From(kKoi8R, dest, src, size);
}

std::size_t LCopyFromKOI8R(LStringLongTemplate<char>& dest, const char* src) {
  return From(kKoi8R, dest, src);
}

void LCopyToKOI8R(char* dest, const char* src, std::size_t size) {
  To(kKoi8RNone, dest, src, size);
}

std::size_t LCopyToKOI8R(LStringLongTemplate<char>& dest, const char* src) {
  return To(kKoi8RNone, dest, src);
}
