// SPDX-License-Identifier: MIT
//
// Character sets beside what a program would use without this library. Machines drift, so compare
// ratios within one run:
//
//   charsets_benchmark --benchmark_repetitions=15 --benchmark_enable_random_interleaving=true
//                      --benchmark_report_aggregates_only=true
//
// "ascii" and "mixed" are 1 MiB of UTF-8. Mixed: words of ASCII, Latin and CJK at random, changing
// every few characters, which is the worst for branch prediction. "word" is a short text.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cwchar>
#include <random>
#include <string>
#include <vector>

#include <zorvex/foundation.h>

namespace {

enum TextKind { kAscii, kMixed, kWord };

std::string MixedText() {
  std::mt19937 random(1);
  std::string text;
  while (text.size() < 1 << 20) {
    const auto script = random() % 3;
    for (auto length = 1 + random() % 8; length > 0; --length) {
      char bytes[8] = {};
      const wchar_t first[] = {L'a', 0xE0, 0x4E00};
      const unsigned int count[] = {26, 0x100, 0x5000};
      const wchar_t unit[] = {first[script] + static_cast<wchar_t>(random() % count[script]), 0};
      LCopyUTF8FromUTF32(bytes, unit, sizeof bytes);
      text += bytes;
    }
    text += ' ';
  }
  return text;
}

const std::string& TextOf(TextKind kind) {
  static const std::string texts[] = {std::string(1 << 20, 'a'), MixedText(),
                                      "Gr\xC3\xBC\xC3\x9F"
                                      "e aus Z\xC3\xBCrich"};
  return texts[kind];
}

template <typename Unit>
std::vector<Unit> UnitsOf(TextKind kind) {
  const std::string& text = TextOf(kind);
  std::vector<wchar_t> units(text.size() + 1);
  LCopyUTF32FromUTF8(units.data(), text.c_str(), units.size());
  return {units.begin(), units.begin() + static_cast<long>(std::wcslen(units.data()) + 1)};
}

void Finish(benchmark::State& state, TextKind kind) {
  state.SetBytesProcessed(state.iterations() * static_cast<long>(TextOf(kind).size()));
}

void Utf16FromUtf8(benchmark::State& state, TextKind kind) {
  const std::string& text = TextOf(kind);
  std::vector<unsigned short> units(text.size() + 1);
  for (auto _ : state) {
    LCopyUnicodeFromUTF8(units.data(), text.c_str(), units.size());
    benchmark::ClobberMemory();
  }
  Finish(state, kind);
}

void Utf16FromUtf8Icu(benchmark::State& state, TextKind kind) {
  const std::string& text = TextOf(kind);
  std::vector<UChar> units(text.size() + 1);
  for (auto _ : state) {
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8(units.data(), static_cast<int>(units.size()), nullptr, text.c_str(),
                  static_cast<int>(text.size()), &error);
    benchmark::ClobberMemory();
  }
  Finish(state, kind);
}

void Utf16FromUtf8GLib(benchmark::State& state, TextKind kind) {
  const std::string& text = TextOf(kind);
  for (auto _ : state)
    g_free(
        g_utf8_to_utf16(text.c_str(), static_cast<long>(text.size()), nullptr, nullptr, nullptr));
  Finish(state, kind);
}

void Iconv(benchmark::State& state, TextKind kind, const char* toName, const char* fromName) {
  // The source is the text in the set that is converted from.
  const std::string& text = TextOf(kind);
  std::vector<char> source(text.size() * 4 + 4);
  std::vector<char> dest(text.size() * 6 + 4);
  const auto convert = [](const char* to, const char* from, const char* src, std::size_t count,
                          std::vector<char>& out) {
    const iconv_t descriptor = iconv_open(to, from);
    char* in = const_cast<char*>(src);
    char* place = out.data();
    std::size_t room = out.size();
    iconv(descriptor, &in, &count, &place, &room);
    iconv_close(descriptor);
    return out.size() - room;
  };
  const std::size_t count = convert(fromName, "UTF-8", text.data(), text.size(), source);
  for (auto _ : state) {
    convert(toName, fromName, source.data(), count, dest);
    benchmark::ClobberMemory();
  }
  Finish(state, kind);
}

void Utf8FromUtf16(benchmark::State& state, TextKind kind) {
  const auto units = UnitsOf<unsigned short>(kind);
  std::vector<char> text(units.size() * 3);
  for (auto _ : state) {
    LCopyUTF8FromUnicode(text.data(), units.data(), text.size());
    benchmark::ClobberMemory();
  }
  Finish(state, kind);
}

void Utf8FromUtf16Icu(benchmark::State& state, TextKind kind) {
  const auto units = UnitsOf<UChar>(kind);
  std::vector<char> text(units.size() * 3);
  for (auto _ : state) {
    UErrorCode error = U_ZERO_ERROR;
    u_strToUTF8(text.data(), static_cast<int>(text.size()), nullptr, units.data(),
                static_cast<int>(units.size() - 1), &error);
    benchmark::ClobberMemory();
  }
  Finish(state, kind);
}

void Utf8FromUtf16GLib(benchmark::State& state, TextKind kind) {
  const auto units = UnitsOf<gunichar2>(kind);
  for (auto _ : state)
    g_free(g_utf16_to_utf8(units.data(), static_cast<long>(units.size() - 1), nullptr, nullptr,
                           nullptr));
  Finish(state, kind);
}

void Utf32FromUtf8(benchmark::State& state, TextKind kind) {
  const std::string& text = TextOf(kind);
  std::vector<wchar_t> units(text.size() + 1);
  for (auto _ : state) {
    LCopyUTF32FromUTF8(units.data(), text.c_str(), units.size());
    benchmark::ClobberMemory();
  }
  Finish(state, kind);
}

void Utf32FromUtf8Icu(benchmark::State& state, TextKind kind) {
  const std::string& text = TextOf(kind);
  std::vector<UChar32> units(text.size() + 1);
  std::vector<UChar> between(text.size() + 1);
  for (auto _ : state) {
    UErrorCode error = U_ZERO_ERROR;
    int count = 0;
    u_strFromUTF8(between.data(), static_cast<int>(between.size()), &count, text.c_str(),
                  static_cast<int>(text.size()), &error);
    u_strToUTF32(units.data(), static_cast<int>(units.size()), nullptr, between.data(), count,
                 &error);
    benchmark::ClobberMemory();
  }
  Finish(state, kind);
}

void Utf32FromUtf8GLib(benchmark::State& state, TextKind kind) {
  const std::string& text = TextOf(kind);
  for (auto _ : state)
    g_free(g_utf8_to_ucs4_fast(text.c_str(), static_cast<long>(text.size()), nullptr));
  Finish(state, kind);
}

void Utf8FromUtf32(benchmark::State& state, TextKind kind) {
  const auto units = UnitsOf<wchar_t>(kind);
  std::vector<char> text(units.size() * 4);
  for (auto _ : state) {
    LCopyUTF8FromUTF32(text.data(), units.data(), text.size());
    benchmark::ClobberMemory();
  }
  Finish(state, kind);
}

void Utf8FromUtf32GLib(benchmark::State& state, TextKind kind) {
  const auto units = UnitsOf<gunichar>(kind);
  for (auto _ : state)
    g_free(g_ucs4_to_utf8(units.data(), static_cast<long>(units.size() - 1), nullptr, nullptr,
                          nullptr));
  Finish(state, kind);
}

// A code page, from and to, with the sized form.
using PageFunction = void (*)(char* dest, const char* src, std::size_t size);

void Page(benchmark::State& state, TextKind kind, PageFunction from, PageFunction to, bool isFrom) {
  const std::string& text = TextOf(kind);
  std::vector<char> source(text.size() + 1);
  std::vector<char> dest(text.size() * 3 + 1);
  to(source.data(), text.c_str(), source.size());
  for (auto _ : state) {
    if (isFrom)
      from(dest.data(), source.data(), dest.size());
    else
      to(dest.data(), text.c_str(), dest.size());
    benchmark::ClobberMemory();
  }
  Finish(state, kind);
}

void PageIcu(benchmark::State& state, TextKind kind, const char* name, bool isFrom) {
  const std::string& text = TextOf(kind);
  std::vector<char> source(text.size() * 4);
  std::vector<char> dest(text.size() * 4);
  UErrorCode error = U_ZERO_ERROR;
  const int count = ucnv_convert(name, "UTF-8", source.data(), static_cast<int>(source.size()),
                                 text.data(), static_cast<int>(text.size()), &error);
  for (auto _ : state) {
    error = U_ZERO_ERROR;
    if (isFrom)
      ucnv_convert("UTF-8", name, dest.data(), static_cast<int>(dest.size()), source.data(), count,
                   &error);
    else
      ucnv_convert(name, "UTF-8", dest.data(), static_cast<int>(dest.size()), text.data(),
                   static_cast<int>(text.size()), &error);
    benchmark::ClobberMemory();
  }
  Finish(state, kind);
}

#define FOR_ASCII_AND_MIXED(function)         \
  BENCHMARK_CAPTURE(function, ascii, kAscii); \
  BENCHMARK_CAPTURE(function, mixed, kMixed); \
  BENCHMARK_CAPTURE(function, word, kWord)

FOR_ASCII_AND_MIXED(Utf16FromUtf8);
FOR_ASCII_AND_MIXED(Utf16FromUtf8Icu);
FOR_ASCII_AND_MIXED(Utf16FromUtf8GLib);
BENCHMARK_CAPTURE(Iconv, utf16_from_utf8_ascii, kAscii, "UTF-16LE", "UTF-8");
BENCHMARK_CAPTURE(Iconv, utf16_from_utf8_mixed, kMixed, "UTF-16LE", "UTF-8");
FOR_ASCII_AND_MIXED(Utf8FromUtf16);
FOR_ASCII_AND_MIXED(Utf8FromUtf16Icu);
FOR_ASCII_AND_MIXED(Utf8FromUtf16GLib);
BENCHMARK_CAPTURE(Iconv, utf8_from_utf16_ascii, kAscii, "UTF-8", "UTF-16LE");
BENCHMARK_CAPTURE(Iconv, utf8_from_utf16_mixed, kMixed, "UTF-8", "UTF-16LE");
FOR_ASCII_AND_MIXED(Utf32FromUtf8);
FOR_ASCII_AND_MIXED(Utf32FromUtf8Icu);
FOR_ASCII_AND_MIXED(Utf32FromUtf8GLib);
BENCHMARK_CAPTURE(Iconv, utf32_from_utf8_ascii, kAscii, "UTF-32LE", "UTF-8");
BENCHMARK_CAPTURE(Iconv, utf32_from_utf8_mixed, kMixed, "UTF-32LE", "UTF-8");
FOR_ASCII_AND_MIXED(Utf8FromUtf32);
FOR_ASCII_AND_MIXED(Utf8FromUtf32GLib);
BENCHMARK_CAPTURE(Iconv, utf8_from_utf32_ascii, kAscii, "UTF-8", "UTF-32LE");
BENCHMARK_CAPTURE(Iconv, utf8_from_utf32_mixed, kMixed, "UTF-8", "UTF-32LE");

BENCHMARK_CAPTURE(Page, from_1252_ascii, kAscii, LCopyFromWIN1252, LCopyToWIN1252, true);
BENCHMARK_CAPTURE(PageIcu, from_1252_ascii, kAscii, "windows-1252", true);
BENCHMARK_CAPTURE(Iconv, from_1252_ascii, kAscii, "UTF-8", "WINDOWS-1252");
BENCHMARK_CAPTURE(Page, to_1252_ascii, kAscii, LCopyFromWIN1252, LCopyToWIN1252, false);
BENCHMARK_CAPTURE(PageIcu, to_1252_ascii, kAscii, "windows-1252", false);
BENCHMARK_CAPTURE(Iconv, to_1252_ascii, kAscii, "WINDOWS-1252", "UTF-8");
BENCHMARK_CAPTURE(Page, from_1252_word, kWord, LCopyFromWIN1252, LCopyToWIN1252, true);
BENCHMARK_CAPTURE(PageIcu, from_1252_word, kWord, "windows-1252", true);
BENCHMARK_CAPTURE(Iconv, from_1252_word, kWord, "UTF-8", "WINDOWS-1252");
BENCHMARK_CAPTURE(Page, to_1252_word, kWord, LCopyFromWIN1252, LCopyToWIN1252, false);
BENCHMARK_CAPTURE(PageIcu, to_1252_word, kWord, "windows-1252", false);
BENCHMARK_CAPTURE(Iconv, to_1252_word, kWord, "WINDOWS-1252", "UTF-8");

}  // namespace

BENCHMARK_MAIN();
