// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLCHARACTERS_H
#define ZORVEX_FOUNDATION_STORE_XMLCHARACTERS_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// \file
/// Kinds of characters in XML texts, and how far runs of ordinary ones go. Runs are looked at 16
/// characters at a time where the processor is known to be able to, never behind the `end` of the
/// text, which has its terminator there.

/// What ends a name or a value, as a reader gives it: line ends read as LF.
constexpr bool IsXmlStop(char c) {
  return c == '/' || c == '=' || c == '>' || c == ' ' || c == '\t' || c == '\n';
}

/// -1 for what is no hexadecimal digit.
constexpr int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/// Where runs end; each includes the terminator and line ends.
enum XmlRunEnd : std::uint8_t {
  kXmlNameEnd = 1,        ///< what ends a name, quotes and "&"
  kXmlQuoteEnd = 2,       ///< " and &
  kXmlApostropheEnd = 4,  ///< ' and &
  kXmlMarkupEnd = 8,      ///< > [ ]
};

inline constexpr auto kXmlRunEnds = [] {
  std::array<std::uint8_t, 256> ends{};
  const auto add = [&](const char* characters, int kind) {
    for (const char* c = characters; *c; ++c)
      ends[static_cast<unsigned char>(*c)] |= static_cast<std::uint8_t>(kind);
  };
  ends[0] = 0xFF;
  add("\r\n", 0xFF);
  add("/=> \t\"'&", kXmlNameEnd);
  add("\"&", kXmlQuoteEnd);
  add("'&", kXmlApostropheEnd);
  add(">[]", kXmlMarkupEnd);
  return ends;
}();

constexpr bool EndsXmlRun(char c, XmlRunEnd kind) {
  return (kXmlRunEnds[static_cast<unsigned char>(c)] & kind) != 0;
}

/// The first character from `text` on that ends such a run.
inline const char* XmlRunEnds(const char* text, XmlRunEnd kind) {
  while (!EndsXmlRun(*text, kind))
    ++text;
  return text;
}

inline constexpr std::ptrdiff_t kXmlBlock = 16;

#if defined(__SSE2__)

/// A bit for each of 16 characters that is one of these.
template <typename... Chars>
unsigned int XmlBlockBits(const char* text, Chars... wanted) {
  const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  __m128i found = _mm_setzero_si128();
  ((found = _mm_or_si128(found, _mm_cmpeq_epi8(block, _mm_set1_epi8(wanted)))), ...);
  return static_cast<unsigned int>(_mm_movemask_epi8(found));
}

/// A bit for each of 16 characters up to '>' in code. What ends a name is among them, and of what
/// names are made of little else.
inline unsigned int XmlLowBits(const char* text) {
  const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const __m128i low = _mm_min_epu8(block, _mm_set1_epi8('>'));
  return static_cast<unsigned int>(_mm_movemask_epi8(_mm_cmpeq_epi8(low, block)));
}

#endif

/// Runs of a kind: where they end, and a bit for each of 16 characters that ends one.
struct XmlNameRun {
  static bool IsEnd(char c) { return EndsXmlRun(c, kXmlNameEnd); }
#if defined(__SSE2__)
  static unsigned int EndBits(const char* text) {
    unsigned int bits = XmlLowBits(text);
    while (bits != 0 && !IsEnd(text[std::countr_zero(bits)]))
      bits &= bits - 1;
    return bits;
  }
#endif
};

template <char kQuote>
struct XmlValueRun {
  static bool IsEnd(char c) {
    return EndsXmlRun(c, kQuote == '"' ? kXmlQuoteEnd : kXmlApostropheEnd);
  }
#if defined(__SSE2__)
  static unsigned int EndBits(const char* text) {
    return XmlBlockBits(text, kQuote, '&', '\r', '\n');
  }
#endif
};

/// The first character from `text` on that ends such a run.
template <typename Run>
inline const char* FindXmlRunEnd(const char* text, [[maybe_unused]] const char* end) {
#if defined(__SSE2__)
  for (; end - text >= kXmlBlock; text += kXmlBlock)
    if (const unsigned int bits = Run::EndBits(text); bits != 0)
      return text + std::countr_zero(bits);
#endif
  while (!Run::IsEnd(*text))
    ++text;
  return text;
}

/// The same, copying the run to `place`, and perhaps more behind it, but nothing to `placeEnd` or
/// beyond. Null when there is no room for the run and one more character.
template <typename Run>
inline const char* CopyXmlRun(const char* text, [[maybe_unused]] const char* end, char* place,
                              const char* placeEnd) {
#if defined(__SSE2__)
  for (; end - text >= kXmlBlock && placeEnd - place >= kXmlBlock;
       text += kXmlBlock, place += kXmlBlock) {
    std::memcpy(place, text, static_cast<std::size_t>(kXmlBlock));
    if (const unsigned int bits = Run::EndBits(text); bits != 0)
      return text + std::countr_zero(bits);
  }
#endif
  for (; place != placeEnd; *place++ = *text++)
    if (Run::IsEnd(*text)) return text;
  return nullptr;
}

/// Text up to a "<", "&", CR or `end`, with the line feeds in it.
struct XmlTextRun {
  const char* end;
  const char* lastLine = nullptr;  ///< behind the last line feed; null without one
  std::uint32_t lineFeeds = 0;
};

inline XmlTextRun FindXmlTextRun(const char* text, const char* end) {
  XmlTextRun run{text};
  const auto addLineFeed = [&](const char* place) {
    ++run.lineFeeds;
    run.lastLine = place + 1;
  };
#if defined(__SSE2__)
  for (; end - run.end >= kXmlBlock; run.end += kXmlBlock) {
    const unsigned int stops = XmlBlockBits(run.end, '<', '&', '\r');
    const unsigned int before = (stops & (~stops + 1)) - 1;  // all without a stop
    for (unsigned int feeds = XmlBlockBits(run.end, '\n') & before; feeds != 0; feeds &= feeds - 1)
      addLineFeed(run.end + std::countr_zero(feeds));
    if (stops != 0) {
      run.end += std::countr_zero(stops);
      return run;
    }
  }
#endif
  for (; run.end != end && *run.end != '<' && *run.end != '&' && *run.end != '\r'; ++run.end)
    if (*run.end == '\n') addLineFeed(run.end);
  return run;
}

/// Length of a terminated text that is mostly short. What may be read ends at `readable`.
inline std::size_t ShortXmlLength(const char* text, [[maybe_unused]] const char* readable) {
  const char* place = text;
#if defined(__SSE2__)
  for (; readable - place >= kXmlBlock; place += kXmlBlock) {
    if (const unsigned int bits = XmlBlockBits(place, '\0'); bits != 0)
      return static_cast<std::size_t>(place + std::countr_zero(bits) - text);
  }
#endif
  return static_cast<std::size_t>(place - text) + std::strlen(place);
}

/// How many characters come before the first that is written as an entity or, with `stopsAtCr`, is
/// a CR. What may be read from the text on ends at `readable`.
inline std::size_t FindXmlEscape(std::string_view text, [[maybe_unused]] const char* readable,
                                 bool stopsAtCr) {
  const char cr = stopsAtCr ? '\r' : '&';
  std::size_t place = 0;
#if defined(__SSE2__)
  for (; place < text.size() && readable - (text.data() + place) >= kXmlBlock;
       place += static_cast<std::size_t>(kXmlBlock)) {
    const unsigned int bits = XmlBlockBits(text.data() + place, '&', '<', '>', '"', cr);
    if (bits == 0) continue;
    place += static_cast<std::size_t>(std::countr_zero(bits));
    break;
  }
#endif
  for (; place < text.size(); ++place) {
    const char c = text[place];
    if (c == '&' || c == '<' || c == '>' || c == '"' || c == cr) return place;
  }
  return text.size();
}

/// Copies what mostly is a few characters; up to 16 are read and written where they may be.
inline void CopyShortXml(char* to, const char* from, std::size_t count, const char* fromEnd) {
  constexpr std::size_t kAtOnce = 16;
  if (count <= kAtOnce && fromEnd - from >= static_cast<std::ptrdiff_t>(kAtOnce))
    std::memcpy(to, from, kAtOnce);
  else
    std::memcpy(to, from, count);
}

#endif  // ZORVEX_FOUNDATION_STORE_XMLCHARACTERS_H
