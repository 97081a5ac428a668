// SPDX-License-Identifier: MIT
#include "foundation/store/xmlloader.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "foundation/store/xmlcharacters.h"
#include "foundation/text/charsets.h"
#include "foundation/text/stringwriter.h"

namespace {

using Loader = LXMLLoaderTemplate<char>;

constexpr std::size_t kMessageSize = 260;
constexpr std::size_t kNameSize = 260;
constexpr std::size_t kLongestEntity = 23;

bool ReadEntityName(Loader& loader, char* name) {
  for (std::size_t length = 0;;) {
    const char c = loader.GetChar();
    if (c == ';') {
      name[length] = 0;
      return true;
    }
    if (c == 0 || c == ' ' || c == '\t' || c == '\n' || length == kLongestEntity) return false;
    name[length++] = c;
  }
}

unsigned int CodeOf(const char* number) {
  if (*number != 'x') return static_cast<unsigned int>(std::strtol(number, nullptr, 10));
  unsigned int code = 0;
  for (const char* digit = number + 1; *digit; ++digit) {
    const int value = HexDigit(*digit);
    if (value >= 0) code = code * 16 + static_cast<unsigned int>(value);
  }
  return code;
}

char NamedCharacter(std::string_view name) {
  if (name == "amp") return '&';
  if (name == "gt") return '>';
  if (name == "lt") return '<';
  if (name == "quot") return '"';
  if (name == "apos") return '\'';
  return '&';  // for unknown names, on purpose
}

/// What names and values have in common: quotes, entities, and where they end.
class TokenLexer {
 public:
  explicit TokenLexer(Loader& loader) : loader_(loader) {}

  /// Reads one step, appending what it gives. True at the end, with the character that it is.
  template <typename Writer>
  bool Step(Writer& writer, char& stop) {
    const char c = loader_.GetChar();
    if (c == 0 || (quote_ == 0 && IsXmlStop(c))) {
      stop = c;
      return true;
    }
    if (c == '&') {
      char decoded[4];
      XMLAmpChar(loader_, decoded);
      writer.AddText(decoded, std::strlen(decoded));
    } else if (c == quote_) {
      quote_ = 0;
    } else if (quote_ == 0 && (c == '"' || c == '\'')) {
      quote_ = c;
    } else {
      writer.AddChar(c);
    }
    return false;
  }

 private:
  Loader& loader_;
  char quote_ = 0;
};

bool IsMarkupName(const char* name, std::uint64_t length) {
  const std::string_view text(name, length);
  return text == "!--" || text == "!DOCTYPE" || text == "![CDATA[";
}

}  // namespace

template <>
char LXMLLoaderTemplate<char>::GetChar() {
  const char c = text[position];
  if (c == 0) return 0;
  ++position;
  if (c != '\r' && c != '\n') {
    ++column;
    return c;
  }
  const char other = c == '\r' ? '\n' : '\r';
  if (text[position] == other) ++position;
  ++line;
  column = 1;
  return '\n';
}

template <>
void LXMLLoaderTemplate<char>::SetError(const char* message) {
  if (*error) return;
  std::snprintf(error, kMessageSize, "Ln %d, Col %d: %s", static_cast<int>(line),
                static_cast<int>(column), message);
}

char XMLLoadTag(LXMLLoaderTemplate<char>& loader, char* name) {
  LFixedLengthStringWriterTemplate<char> writer(name, kNameSize - 1);
  TokenLexer lexer(loader);
  char stop = 0;
  while (!lexer.Step(writer, stop)) {
    if (IsMarkupName(name, writer.Length())) {
      stop = name[writer.Length() - 1];
      break;
    }
  }
  name[writer.Length()] = 0;
  return stop;
}

char XMLLoadAttribute(LXMLLoaderTemplate<char>& loader, LStringLongTemplate<char>& value) {
  value.GrowToSize(kNameSize);
  LStringLongTemplateWriter<char> writer(value);
  writer.Restart();
  if (loader.text[loader.position] == ' ') (void)loader.GetChar();
  TokenLexer lexer(loader);
  char stop = 0;
  while (!lexer.Step(writer, stop)) {
  }
  writer.Terminate();
  return stop;
}

void XMLAmpChar(LXMLLoaderTemplate<char>& loader, char* out) {
  *out = 0;
  char name[kLongestEntity + 1];
  if (!ReadEntityName(loader, name)) {
    loader.SetError(
        "Strings starting with an ampersand (&) must end with a semicolon (;). Either replace the "
        "'&' with '&amp;' or add a ';' at the end of the control string.");
    return;
  }
  if (*name == '#') {
    // On purpose cut to one UTF-16 unit.
    const unsigned short code[] = {static_cast<unsigned short>(CodeOf(name + 1)), 0};
    LCopyUTF8FromUnicode(out, code, 4);
  } else {
    out[0] = NamedCharacter(name);
    out[1] = 0;
  }
}
