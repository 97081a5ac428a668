// SPDX-License-Identifier: MIT
#include "foundation/store/uricodec.h"

#include <array>

namespace {

/// What a byte is to the reader of an encoded text.
enum class Kind : unsigned char { kPlain, kSpecial, kStop };

class Kinds {
 public:
  constexpr Kinds() = default;
  constexpr void Set(const char* bytes, Kind kind) {
    while (*bytes)
      Set(*bytes++, kind);
  }
  constexpr void Set(char byte, Kind kind) { kinds_[static_cast<unsigned char>(byte)] = kind; }
  [[nodiscard]] constexpr Kind Of(char byte) const {
    return kinds_[static_cast<unsigned char>(byte)];
  }

 private:
  std::array<Kind, 256> kinds_{};
};

constexpr Kinds kEncoded = [] {
  Kinds kinds;
  kinds.Set("+%", Kind::kSpecial);
  kinds.Set('\0', Kind::kStop);
  return kinds;
}();

constexpr Kinds kUnencoded = [] {
  Kinds kinds;
  for (int byte = 0; byte < 256; ++byte)
    kinds.Set(static_cast<char>(byte), Kind::kSpecial);
  kinds.Set("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!-._~", Kind::kPlain);
  kinds.Set('\0', Kind::kStop);
  return kinds;
}();

/// Writes the plain bytes at `text` and returns the first other one.
template <typename Writer>
const char* CopyPlain(Writer& writer, const char* text, const Kinds& kinds) {
  const char* rest = text;
  while (kinds.Of(*rest) == Kind::kPlain)
    ++rest;
  if (rest != text) writer.AddText(text, static_cast<std::uint64_t>(rest - text));
  return rest;
}

/// The value of a hexadecimal digit, 0 for what is none.
unsigned int DigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<unsigned int>(digit - '0');
  if (digit >= 'A' && digit <= 'F') return static_cast<unsigned int>(digit - 'A' + 10);
  if (digit >= 'a' && digit <= 'f') return static_cast<unsigned int>(digit - 'a' + 10);
  return 0;
}

/// Writes the byte of the escape at `escape` and returns what is behind it.
template <typename Writer>
const char* DecodeEscape(Writer& writer, const char* escape) {
  if (escape[1] == 0) return escape + 1;
  if (escape[2] == 0) return escape + 2;
  const auto byte = static_cast<char>(DigitValue(escape[1]) * 16 + DigitValue(escape[2]));
  if (byte != 0) writer.AddChar(byte);
  return escape + 3;
}

template <typename Writer>
std::uint64_t Decode(Writer& writer, const char* text, const Kinds& kinds) {
  const char* rest = CopyPlain(writer, text, kinds);
  while (kinds.Of(*rest) != Kind::kStop) {
    if (*rest == '%') {
      rest = DecodeEscape(writer, rest);
    } else {
      writer.AddChar(' ');
      ++rest;
    }
    rest = CopyPlain(writer, rest, kinds);
  }
  return static_cast<std::uint64_t>(rest - text);
}

}  // namespace

template <typename Writer, typename Char>
std::uint64_t LURIDecodeToWriterDirect(Writer& writer, const Char* text, const Char* stopChars) {
  if (!text) return 0;
  Kinds kinds = kEncoded;
  if (stopChars) kinds.Set(stopChars, Kind::kStop);
  return Decode(writer, text, kinds);
}

template <typename Writer, typename Char>
std::uint64_t LURIDecodeToWriterDirect(Writer& writer, const Char* text, Char stopChar) {
  if (!text) return 0;
  Kinds kinds = kEncoded;
  kinds.Set(stopChar, Kind::kStop);
  return Decode(writer, text, kinds);
}

template <typename Writer, typename Char>
void LURIEncodeToWriter(Writer& writer, const Char* text) {
  if (!text) return;
  text = CopyPlain(writer, text, kUnencoded);
  while (*text) {
    constexpr char digits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(*text);
    const char escape[] = {'%', digits[byte >> 4], digits[byte & 15]};
    writer.AddText(escape, sizeof escape);
    text = CopyPlain(writer, text + 1, kUnencoded);
  }
}

template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(LStringLongTemplateWriter<char>&,
                                                           const char*, const char*);
template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(LStringLongTemplateWriter<char>&,
                                                           const char*, char);
template ZORVEX_API void LURIEncodeToWriter(LStringLongTemplateWriter<char>&, const char*);
template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(LStringLongTemplateAppender<char>&,
                                                           const char*, const char*);
template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(LStringLongTemplateAppender<char>&,
                                                           const char*, char);
template ZORVEX_API void LURIEncodeToWriter(LStringLongTemplateAppender<char>&, const char*);
template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(LFixedLengthStringWriterTemplate<char>&,
                                                           const char*, const char*);
template ZORVEX_API std::uint64_t LURIDecodeToWriterDirect(LFixedLengthStringWriterTemplate<char>&,
                                                           const char*, char);
template ZORVEX_API void LURIEncodeToWriter(LFixedLengthStringWriterTemplate<char>&, const char*);
