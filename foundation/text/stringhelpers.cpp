// SPDX-License-Identifier: MIT
#include "foundation/text/stringhelpers.h"

#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwctype>
#include <string>
#include <string_view>
#include <utility>

namespace {

/// Room of a buffer that a function is given without its size.
constexpr std::size_t kFixedSize = 260;

char Upper(char character) {
  return static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
}

wchar_t Upper(wchar_t character) {
  return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(character)));
}

template <typename Char>
const Char* FindAnyCase(const Char* haystack, const Char* needle) {
  if (!haystack || !needle) return nullptr;
  const std::basic_string_view<Char> hay(haystack);
  const std::basic_string_view<Char> wanted(needle);
  if (wanted.size() > hay.size()) return nullptr;
  const auto found = std::search(hay.begin(), hay.end(), wanted.begin(), wanted.end(),
                                 [](Char a, Char b) { return a == b || Upper(a) == Upper(b); });
  return found == hay.end() && !wanted.empty() ? nullptr : haystack + (found - hay.begin());
}

bool IsFormatting(char character) {
  return static_cast<unsigned char>(character) < ' ';
}

/// Copies what fits, and terminates it.
void CopyCut(char* out, std::size_t size, const char* text, std::size_t length) {
  if (!out || size == 0) return;
  length = std::min(length, size - 1);
  std::memmove(out, text, length);
  out[length] = 0;
}

constexpr std::string_view Entity(char character) {
  switch (character) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    default:
      return "";
  }
}

/// Where a run of characters that are copied ends.
constexpr auto kHtmlStops = [] {
  std::array<bool, 256> stops{};
  for (const char stop : {'\0', '&', '<', '>', '"'})
    stops[static_cast<unsigned char>(stop)] = true;
  return stops;
}();

}  // namespace

template <typename Char>
void LStringRemoveTrailingSpaces(Char* text) {
  if (!text) return;
  std::size_t length = std::char_traits<Char>::length(text);
  while (length > 0 && text[length - 1] == ' ')
    --length;
  text[length] = 0;
}

template <typename Char>
void LStringTrim(Char* text) {
  if (!text) return;
  const Char* begin = text;
  while (*begin == ' ')
    ++begin;
  if (begin != text)
    std::char_traits<Char>::move(text, begin, std::char_traits<Char>::length(begin) + 1);
  LStringRemoveTrailingSpaces(text);
}

void LStringRemoveTrailingFormatting(char* text) {
  if (!text) return;
  std::size_t length = std::strlen(text);
  while (length > 0 && IsFormatting(text[length - 1]))
    --length;
  text[length] = 0;
}

void LStringTrimFormatting(char* text) {
  if (!text) return;
  LStringRemoveTrailingFormatting(text);
  const char* begin = text;
  while (*begin && IsFormatting(*begin))
    ++begin;
  if (begin != text) std::memmove(text, begin, std::strlen(begin) + 1);
}

const char* tstristr(const char* haystack, const char* needle) {
  return FindAnyCase(haystack, needle);
}

char* tstristr(char* haystack, const char* needle) {
  return const_cast<char*>(FindAnyCase<char>(haystack, needle));
}

const wchar_t* tstristr(const wchar_t* haystack, const wchar_t* needle) {
  return FindAnyCase(haystack, needle);
}

wchar_t* tstristr(wchar_t* haystack, const wchar_t* needle) {
  return const_cast<wchar_t*>(FindAnyCase<wchar_t>(haystack, needle));
}

int tstrcmpend(const char* text, const char* ending) {
  const std::size_t length = text ? std::strlen(text) : 0;
  const std::size_t wanted = ending ? std::strlen(ending) : 0;
  if (length < wanted) return -1;
  return wanted == 0 ? 0 : std::strcmp(text + (length - wanted), ending);
}

char* strlwr(char* text) {
  for (char* place = text; place && *place; ++place)
    *place = static_cast<char>(std::tolower(static_cast<unsigned char>(*place)));
  return text;
}

char* strupr(char* text) {
  for (char* place = text; place && *place; ++place)
    *place = Upper(*place);
  return text;
}

std::size_t lstrlen(const unsigned short* text) {
  std::size_t length = 0;
  while (text && text[length])
    ++length;
  return length;
}

template <typename Char>
std::size_t LParseGetToCharacters(const Char* source, const Char* stops, Char* out) {
  if (!source) source = "";
  const std::size_t length = std::strcspn(source, stops ? stops : "");
  CopyCut(out, kFixedSize, source, length);
  return length;
}

std::size_t LParseGetToEndOfLine(const char* text, LStringLongTemplate<char>& line) {
  if (!text) text = "";
  const std::size_t length = std::strcspn(text, "\r\n");
  LStringLongTemplate<char> copy;
  copy.GrowToSize(length + 1);
  std::memcpy(copy.Buffer(), text, length);
  copy.SetLength(length);
  line = std::move(copy);
  return length;
}

bool LStringFindTextField(const char* text, const char* startTag, const char* endTag, char* out,
                          std::size_t outSize) {
  const char* start = text && startTag ? std::strstr(text, startTag) : nullptr;
  if (!start) {
    CopyCut(out, outSize, "", 0);
    return false;
  }
  start += std::strlen(startTag);
  const char* end = endTag ? std::strstr(start, endTag) : nullptr;
  CopyCut(out, outSize, start, end ? static_cast<std::size_t>(end - start) : std::strlen(start));
  return true;
}

char* LRemoveHTTPItem(const char* name, char* query) {
  if (!name || !query) return nullptr;
  char wanted[262];
  LFixedLengthStringWriterTemplate<char> writer(wanted, sizeof wanted - 1);
  writer.AddCharacters(name, std::strlen(name));
  writer.AddChar('=');
  wanted[writer.Length()] = 0;
  char* match = std::strstr(query, wanted);
  if (!match) return nullptr;
  char* cut = match != query && match[-1] == '&' ? match - 1 : match;
  const char* rest = std::strchr(match, '&');
  if (rest)
    std::memmove(cut, rest, std::strlen(rest) + 1);
  else
    *cut = 0;
  return cut;
}

bool GetCSVListItem(const char* list, std::size_t& position, char* out, std::size_t outSize) {
  const std::size_t limit = out && outSize > 0 ? outSize - 1 : 0;
  std::size_t length = 0;
  std::size_t trimmed = 0;  // without the spaces at the end that stand outside quotes
  bool isQuoted = false;
  bool isEmpty = true;
  for (char c = 0; list && (c = list[position]) != 0 && c != '\n' && c != '\r';) {
    ++position;
    if (c == ',' && !isQuoted) break;
    if (c == '"') {
      isQuoted = !isQuoted;
      continue;
    }
    const bool isBlank = c == ' ' && !isQuoted;
    if (isBlank && length == 0) continue;
    if (!isBlank) isEmpty = false;
    if (length == limit) continue;
    out[length++] = c;
    if (!isBlank) trimmed = length;
  }
  if (out && outSize > 0) out[trimmed] = 0;
  return !isEmpty;
}

template <typename Writer, typename Char>
void LHTMLEncodeToWriterSimple(Writer& writer, const Char* text) {
  if (!text) return;
  for (;;) {
    const Char* end = text;
    while (!kHtmlStops[static_cast<unsigned char>(*end)])
      ++end;
    if (end != text) writer.AddCharacters(text, static_cast<std::uint64_t>(end - text));
    if (*end == 0) return;
    const std::string_view entity = Entity(*end);
    writer.AddCharacters(entity.data(), entity.size());
    text = end + 1;
  }
}

void randomize() {
  timeval now{};
  gettimeofday(&now, nullptr);
  std::srand(static_cast<unsigned int>(now.tv_usec / 1000 + now.tv_sec * 1000));
  std::srand(static_cast<unsigned int>(std::rand() ^ std::time(nullptr)));
}

void LStringGenerateRandomPassword(char* out, std::size_t length) {
  randomize();
  if (!out) return;
  for (std::size_t i = 0; i < length; ++i)
    out[i] = static_cast<char>('a' + std::rand() % 26);
  out[length] = 0;
}

template void LStringTrim(char*);
template void LStringRemoveTrailingSpaces(char*);
template std::size_t LParseGetToCharacters(const char*, const char*, char*);
template void LHTMLEncodeToWriterSimple(LStringLongTemplateWriter<char>&, const char*);
template void LHTMLEncodeToWriterSimple(LStringLongTemplateAppender<char>&, const char*);
template void LHTMLEncodeToWriterSimple(LFixedLengthStringWriterTemplate<char>&, const char*);
