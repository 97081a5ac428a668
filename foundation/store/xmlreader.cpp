// SPDX-License-Identifier: MIT
#include "foundation/store/xmlreader.h"

#include <strings.h>

#include <cstdio>
#include <cstring>

#include "foundation/store/xmlattributes.h"
#include "foundation/store/xmlcharacters.h"

namespace {

constexpr char kEndOfInput[] =
    "(EOF) Element <%s> should be terminated with </%s>. Check you have terminated your element "
    "properly.";

constexpr bool IsControl(char c) {
  return static_cast<unsigned char>(c) < ' ';
}

/// As LStringTrimFormatting.
std::string_view TrimFormatting(std::string_view text) {
  while (!text.empty() && IsControl(text.back()))
    text.remove_suffix(1);
  while (!text.empty() && IsControl(text.front()))
    text.remove_prefix(1);
  return text;
}

bool IsSpaceAttribute(std::string_view name) {
  constexpr std::string_view kName = "xml:space";
  return name.size() == kName.size() && strncasecmp(name.data(), kName.data(), kName.size()) == 0;
}

}  // namespace

XmlReader::XmlReader(Loader& loader)
    : loader_(loader),
      end_(Here() + std::strlen(Here())),
      checked_(loader.position),
      tree_(&pages_) {}

void XmlReader::SetErrorF(const char* format, const char* first, const char* second,
                          const char* third) {
  char message[1024];  // three names and the longest of the texts below
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(message, sizeof message, format, first, second, third);
#pragma GCC diagnostic pop
  loader_.SetError(message);
}

void XmlReader::Skip(const char* to) {
  const std::ptrdiff_t count = to - Here();
  loader_.position += static_cast<std::uint64_t>(count);
  loader_.column += static_cast<std::uint32_t>(count);
}

char XmlReader::TakeStop() {
  const char c = *Here();
  if (c == 0 || c == '\r' || c == '\n') return loader_.GetChar();
  Skip(Here() + 1);
  return c;
}

void XmlReader::Open(LXMLElement& element, std::size_t plainLength) {
  open_.push_back({&element, LList<LXMLElement>::Tail(element.Children()), plainLength});
}

void XmlReader::ReadContent(LXMLElement& element) {
  element.Children().Clear();
  Open(element, 0);
  ReadOpenElements();
}

void XmlReader::ReadElement(LXMLElement& element, char stop) {
  bool preserve = element.IsPreserveWhitespace();
  const TagEnd end = ReadAttributes(element.Name(), stop, preserve);
  element.SetPreserveWhitespace(preserve);
  XmlPackedAttributes packed(packed_.Text().data(), packed_.Text().size());
  for (XmlAttribute attribute{}; packed.Next(attribute);)
    element.Attributes().SetString(attribute.name.data(), attribute.value.data());
  if (!HasContent(element, end)) return;
  Open(element, 0);
  ReadOpenElements();
}

void XmlReader::ReadOpenElements() {
  while (!open_.empty()) {
    if (!ReadText()) {
      StoreText();
      return;
    }
    if (Here() == end_)
      EndUnclosed();
    else
      ReadTag();
  }
}

bool XmlReader::ReadText() {
  for (;;) {
    if (IsToCheck()) {
      checked_ = loader_.position;
      if (loader_.progress->IsToStop()) return false;
    }
    const char* const begin = Here();
    const std::uint64_t untilCheck = checked_ + kCheckDistance - loader_.position;
    const char* const limit =
        untilCheck < static_cast<std::uint64_t>(end_ - begin) ? begin + untilCheck : end_;
    const XmlTextRun run = FindXmlTextRun(begin, limit);
    pending_.AddRun(begin, static_cast<std::size_t>(run.end - begin));
    SkipRun(run);
    if (run.end == limit || Here() != run.end) {
      if (Here() == end_) return true;
    } else if (*run.end == '<') {
      return true;
    } else if (*run.end == '&') {
      Skip(run.end + 1);
      char decoded[4];
      XMLAmpChar(loader_, decoded);
      pending_.AddCopy(decoded, std::strlen(decoded));
    } else {
      pending_.AddCopy("\n", 1);
      (void)loader_.GetChar();
    }
  }
}

void XmlReader::SkipRun(const XmlTextRun& run) {
  if (!run.lastLine) {
    Skip(run.end);
    return;
  }
  loader_.position += static_cast<std::uint64_t>(run.end - Here());
  loader_.line += run.lineFeeds;
  loader_.column = static_cast<std::uint32_t>(run.end - run.lastLine) + 1;
  // LF CR is one line end.
  if (run.end == run.lastLine && *run.end == '\r') ++loader_.position;
}

void XmlReader::StoreText() {
  OpenElement& open = open_.back();
  const bool preserve = open.element->IsPreserveWhitespace();
  const std::string_view text = preserve ? pending_.Text() : TrimFormatting(pending_.Text());
  if (!text.empty()) open.children.Append(tree_.NewText(text, preserve));
  pending_.Clear();
}

void XmlReader::EndUnclosed() {
  StoreText();
  if (const char* name = open_.back().element->Name()) SetErrorF(kEndOfInput, name, name);
  open_.pop_back();
}

void XmlReader::ReadTag() {
  if (ReadMatchingEndTag()) return;
  Skip(Here() + 1);
  char buffer[kNameSize];
  const Token name = ReadName(buffer);
  if (name.text.empty()) {
    if (name.stop == '/') {
      ReadEndTag();
    } else {
      loader_.SetError("Misplaced < without name. Use &lt; instead of < if appropriate.");
      StoreText();
      open_.pop_back();
    }
    return;
  }
  StoreText();
  OpenElement& parent = open_.back();
  bool preserve = parent.element->IsPreserveWhitespace();
  const TagEnd end = ReadAttributes(name.text, name.stop, preserve);
  LXMLElement* const element = tree_.NewElement(name.text, preserve, packed_.Text());
  parent.children.Append(element);
  if (HasContent(*element, end)) Open(*element, name.isPlain ? name.text.size() : 0);
}

/// The closing tag that is expected, without anything that would have to be looked at.
bool XmlReader::ReadMatchingEndTag() {
  const OpenElement& open = open_.back();
  const char* const name = Here() + 2;
  if (open.plainLength == 0 || Here()[1] != '/') return false;
  if (static_cast<std::size_t>(end_ - name) <= open.plainLength || name[open.plainLength] != '>' ||
      std::memcmp(name, open.element->Name(), open.plainLength) != 0)
    return false;
  Skip(name + open.plainLength + 1);
  StoreText();
  open_.pop_back();
  return true;
}

void XmlReader::ReadEndTag() {
  char name[kNameSize];
  char stop = XMLLoadTag(loader_, name);
  const char* const expected = open_.back().element->Name();
  if (!expected)
    SetErrorF("Misplaced </%s> which does not match a <%s>.", name, name);
  else if (std::strcmp(name, expected) != 0)
    SetErrorF(
        "Element <%s> should be terminated with </%s>, was with %s. Check you have terminated your "
        "element properly.",
        expected, expected, name);
  while (stop != '>' && stop != 0)
    stop = loader_.GetChar();
  StoreText();
  open_.pop_back();
}

XmlReader::Token XmlReader::ReadName(char* buffer) {
  const char* const begin = Here();
  const char* const end = XmlNameEnds(begin, end_);
  const auto length = static_cast<std::size_t>(end - begin);
  if (*begin != '!' && length < kNameSize && *end != '"' && *end != '\'' && *end != '&') {
    Skip(end);
    return {{begin, length}, TakeStop(), true};
  }
  const char stop = XMLLoadTag(loader_, buffer);
  return {buffer, stop, false};
}

/// A value that is all in one pair of quotes.
bool XmlReader::ReadQuoted(Token& value) {
  const char* begin = Here();
  if (*begin == ' ') ++begin;
  const char quote = *begin;
  if (quote != '"' && quote != '\'') return false;
  ++begin;
  const char* const end = XmlValueEnds(begin, end_, quote);
  if (*end != quote || !IsXmlStop(end[1])) return false;
  Skip(end + 1);
  value = {{begin, static_cast<std::size_t>(end - begin)}, TakeStop(), true};
  return true;
}

XmlReader::Token XmlReader::ReadValue() {
  Token value{"", 0, false};
  if (ReadQuoted(value)) return value;
  const char stop = XMLLoadAttribute(loader_, value_);
  return {{value_.Text(), value_.Length()}, stop, false};
}

XmlReader::TagEnd XmlReader::ReadAttributes(std::string_view name, char stop, bool& preserve) {
  packed_.Clear();
  if (name.starts_with('!')) return TagEnd::kContent;
  bool isEmptyTag = false;
  while (stop != '>') {
    if (stop == 0) return TagEnd::kMissing;
    if (stop == '/') {
      isEmptyTag = true;
      if (*Here() == '>') {
        Skip(Here() + 1);
        break;
      }
    }
    stop = ReadPlainAttributes();
    if (stop == 0) stop = ReadAttribute(preserve);
  }
  return isEmptyTag || name.starts_with('?') ? TagEnd::kEmpty : TagEnd::kContent;
}

char XmlReader::ReadPlainAttributes() {
  const char* here = Here();
  char stop = 0;
  for (;;) {
    const char* const nameEnd = XmlNameEnds(here, end_);
    const std::string_view name(here, static_cast<std::size_t>(nameEnd - here));
    if (*nameEnd != '=' || nameEnd[1] != '"' || name.empty() || name.size() >= kNameSize) break;
    const char* const valueBegin = nameEnd + 2;
    const char* const valueEnd = XmlValueEnds(valueBegin, end_, '"');
    if (*valueEnd != '"') break;
    const char next = valueEnd[1];
    if ((next != ' ' && next != '/' && next != '>') || valueEnd[-1] == '?') break;
    if (name.front() == '!' || IsSpaceAttribute(name)) break;
    packed_.Add(name, end_);
    packed_.Add({valueBegin, static_cast<std::size_t>(valueEnd - valueBegin)}, end_);
    here = valueEnd + 2;
    if (next == ' ') continue;
    stop = next;
    break;
  }
  Skip(here);
  return stop;
}

char XmlReader::ReadAttribute(bool& preserve) {
  char buffer[kNameSize];
  const Token name = ReadName(buffer);
  Token value{"", name.stop, false};
  if (value.stop == ' ' && *Here() == '=') value.stop = loader_.GetChar();
  if (value.stop == '=') {
    value = ReadValue();
    // The end of a declaration.
    if (value.stop == '>' && !value.text.empty() && value.text.back() == '?')
      value.text.remove_suffix(1);
  }
  if (name.text.empty()) return value.stop;
  if (IsSpaceAttribute(name.text)) {
    preserve = true;  // whatever its value
  } else {
    packed_.Add(name.text, ReadableBehind(name));
    packed_.Add(value.text, ReadableBehind(value));
  }
  return value.stop;
}

/// What comes behind the tag; what has no text of its own is read or told here.
bool XmlReader::HasContent(LXMLElement& element, TagEnd end) {
  if (end == TagEnd::kMissing) SetErrorF("Tag <%s> does not have a closing '>'", element.Name());
  if (end != TagEnd::kContent) return false;
  if (*element.Name() != '!') return true;
  ReadMarkup(element);
  return false;
}

/// Comments and their like: text as it stands up to a terminator. Of "<!DOCTYPE" that is a ">"
/// outside the brackets of its internal subset; names that are not known have none.
void XmlReader::ReadMarkup(LXMLElement& element) {
  const std::string_view name = element.Name();
  const std::string_view ending = name == "!--" ? "--" : name == "![CDATA[" ? "]]" : "";
  const bool isDocType = name == "!DOCTYPE";
  bool isInBrackets = false;
  bool isComplete = false;
  XmlPendingText text;
  while (!isComplete && Here() != end_) {
    const char* const begin = Here();
    const char* const stop = XmlRunEnds(begin, kXmlMarkupEnd);
    text.AddRun(begin, static_cast<std::size_t>(stop - begin));
    Skip(stop);
    const char c = loader_.GetChar();
    if (c == '[' || c == ']') isInBrackets = c == '[';
    isComplete =
        c == '>' && (isDocType ? !isInBrackets : !ending.empty() && text.Text().ends_with(ending));
    if (isComplete) break;
    if (c == *stop && Here() == stop + 1)
      text.AddRun(stop, 1);
    else if (c != 0)
      text.AddCopy(&c, 1);
  }
  if (!isComplete) SetErrorF(kEndOfInput, element.Name(), element.Name());
  std::string_view content = text.Text();
  if (isComplete) content.remove_suffix(ending.size());
  LXMLElement* const child = tree_.NewText(content, element.IsPreserveWhitespace());
  element.Children().Append(child);
}
