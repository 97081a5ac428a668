// SPDX-License-Identifier: MIT
#include "foundation/store/xmlreader.h"

#include <strings.h>

#include <cstring>
#include <string_view>
#include <vector>

#include "foundation/store/blockpages.h"
#include "foundation/store/xmlattributes.h"
#include "foundation/store/xmlcursor.h"
#include "foundation/store/xmlpendingtext.h"
#include "foundation/store/xmltree.h"

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

/// Elements that are open are on a stack of the heap's, so that their depth has no other limit.
class XmlReader {
 public:
  explicit XmlReader(LXMLLoaderTemplate<char>& loader) : cursor_(loader), checked_(Here()) {}

  void ReadContent(LXMLElement& element);
  void ReadElement(LXMLElement& element, char stop);

 private:
  using Token = XmlCursor::Token;

  struct OpenElement {
    LXMLElement* element;
    LList<LXMLElement>::Tail children;
    std::size_t plainLength;  // of a name that stands in a tag as it is, else 0
  };

  /// What a start tag ended with.
  enum class TagEnd { kContent, kEmpty, kMissing };

  [[nodiscard]] const char* Here() const { return cursor_.Here(); }
  [[nodiscard]] const char* ReadableBehind(const Token& token) const {
    return token.isPlain ? cursor_.End() : token.text.data() + token.text.size();
  }

  void Open(LXMLElement& element, std::size_t plainLength) {
    open_.push_back({&element, LList<LXMLElement>::Tail(element.Children()), plainLength});
  }
  void ReadOpenElements();
  /// Reads text up to a "<", or the end; false when that is to be all.
  bool ReadText();
  void StoreText();
  void ReadTag();
  void ReadEndTag();
  bool ReadMatchingEndTag();
  void EndUnclosed();
  /// Adds the attributes of a start tag to what is packed; xml:space sets `preserve` instead.
  TagEnd ReadAttributes(std::string_view name, char stop, bool& preserve);
  /// Reads attributes as long as they are written as `name="value"`, with one space in between.
  /// Returns the character that ended the last one, or 0 when another kind of attribute follows.
  char ReadPlainAttributes();
  char ReadAttribute(bool& preserve);
  bool HasContent(LXMLElement& element, TagEnd end);
  void ReadMarkup(LXMLElement& element);

  // So often, in bytes, it is asked whether to stop.
  static constexpr std::ptrdiff_t kCheckDistance = 512;

  XmlCursor cursor_;
  const char* checked_;
  BlockPages pages_;
  XmlTree tree_{&pages_};
  std::vector<OpenElement> open_;
  XmlPendingText pending_;
  XmlElementPacker packed_;
};

void XmlReader::ReadContent(LXMLElement& element) {
  element.Children().Clear();
  Open(element, 0);
  ReadOpenElements();
}

void XmlReader::ReadElement(LXMLElement& element, char stop) {
  bool preserve = element.IsPreserveWhitespace();
  packed_.Begin(nullptr, 0);
  const TagEnd end = ReadAttributes(element.Name(), stop, preserve);
  element.SetPreserveWhitespace(preserve);
  XmlPackedAttributes packed(packed_.Text().data(), packed_.Text().size());
  for (XmlAttribute attribute{}; packed.Next(attribute);)
    element.Attributes().SetString(attribute.name.data(), attribute.value.data());
  if (HasContent(element, end)) {
    Open(element, 0);
    ReadOpenElements();
  }
}

void XmlReader::ReadOpenElements() {
  while (!open_.empty()) {
    if (!ReadText()) {
      StoreText();
      return;
    }
    if (Here() == cursor_.End())
      EndUnclosed();
    else
      ReadTag();
  }
}

bool XmlReader::ReadText() {
  for (;;) {
    if (Here() - checked_ >= kCheckDistance) {
      checked_ = Here();
      if (cursor_.IsToStop()) return false;
    }
    const char* const begin = Here();
    const char* const limit =
        cursor_.End() - checked_ > kCheckDistance ? checked_ + kCheckDistance : cursor_.End();
    const XmlTextRun run = FindXmlTextRun(begin, limit);
    pending_.AddRun(begin, static_cast<std::size_t>(run.end - begin));
    cursor_.Skip(run);
    if (run.end == limit || Here() != run.end) {
      if (Here() == cursor_.End()) return true;
    } else if (*run.end == '<') {
      return true;
    } else if (*run.end == '&') {
      char decoded[4];
      cursor_.ReadEntity(decoded);
      pending_.AddCopy(decoded, std::strlen(decoded));
    } else {
      pending_.AddCopy("\n", 1);
      cursor_.GetChar();
    }
  }
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
  if (const char* name = open_.back().element->Name()) cursor_.SetErrorF(kEndOfInput, name, name);
  open_.pop_back();
}

void XmlReader::ReadTag() {
  if (ReadMatchingEndTag()) return;
  cursor_.GoTo(Here() + 1);
  char buffer[XmlCursor::kNameSize];
  const Token name = cursor_.ReadName(buffer);
  if (name.text.empty()) {
    if (name.stop == '/') {
      ReadEndTag();
    } else {
      cursor_.SetError("Misplaced < without name. Use &lt; instead of < if appropriate.");
      StoreText();
      open_.pop_back();
    }
    return;
  }
  StoreText();
  OpenElement& parent = open_.back();
  bool preserve = parent.element->IsPreserveWhitespace();
  tree_.BeginElement(packed_);
  packed_.Add(name.text, ReadableBehind(name));
  const TagEnd end = ReadAttributes(name.text, name.stop, preserve);
  LXMLElement* const element = tree_.NewElement(packed_, name.text.size(), preserve);
  parent.children.Append(element);
  if (HasContent(*element, end)) Open(*element, name.isPlain ? name.text.size() : 0);
}

/// The closing tag that is expected, without anything that would have to be looked at.
bool XmlReader::ReadMatchingEndTag() {
  const OpenElement& open = open_.back();
  const char* const name = Here() + 2;
  if (open.plainLength == 0 || Here()[1] != '/') return false;
  if (static_cast<std::size_t>(cursor_.End() - name) <= open.plainLength ||
      name[open.plainLength] != '>' ||
      std::memcmp(name, open.element->Name(), open.plainLength) != 0)
    return false;
  cursor_.GoTo(name + open.plainLength + 1);
  StoreText();
  open_.pop_back();
  return true;
}

void XmlReader::ReadEndTag() {
  char name[XmlCursor::kNameSize];
  char stop = cursor_.ReadEndName(name);
  const char* const expected = open_.back().element->Name();
  if (!expected)
    cursor_.SetErrorF("Misplaced </%s> which does not match a <%s>.", name, name);
  else if (std::strcmp(name, expected) != 0)
    cursor_.SetErrorF(
        "Element <%s> should be terminated with </%s>, was with %s. Check you have terminated your "
        "element properly.",
        expected, expected, name);
  while (stop != '>' && stop != 0)
    stop = cursor_.GetChar();
  StoreText();
  open_.pop_back();
}

XmlReader::TagEnd XmlReader::ReadAttributes(std::string_view name, char stop, bool& preserve) {
  if (name.starts_with('!')) return TagEnd::kContent;
  bool isEmptyTag = false;
  while (stop != '>') {
    if (stop == 0) return TagEnd::kMissing;
    if (stop == '/') {
      isEmptyTag = true;
      if (*Here() == '>') {
        cursor_.GoTo(Here() + 1);
        break;
      }
    }
    stop = ReadPlainAttributes();
    if (stop == 0) stop = ReadAttribute(preserve);
  }
  return isEmptyTag || name.starts_with('?') ? TagEnd::kEmpty : TagEnd::kContent;
}

char XmlReader::ReadPlainAttributes() {
  for (;;) {
    const char* const name = Here();
    char* const packedName = packed_.Next();
    const char* const nameEnd =
        CopyXmlRun<XmlNameRun>(name, cursor_.End(), packedName, packed_.End());
    if (!nameEnd || nameEnd == name || nameEnd[0] != '=' || nameEnd[1] != '"') return 0;
    const std::ptrdiff_t length = nameEnd - name;
    const std::string_view packed(packedName, static_cast<std::size_t>(length));
    if (packed.size() >= XmlCursor::kNameSize || *name == '!' || IsSpaceAttribute(packed)) return 0;

    const char* const value = nameEnd + 2;
    char* const packedValue = packedName + length + 1;
    const char* const valueEnd =
        CopyXmlRun<XmlValueRun<'"'>>(value, cursor_.End(), packedValue, packed_.End());
    if (!valueEnd || *valueEnd != '"' || valueEnd[-1] == '?') return 0;
    const char stop = valueEnd[1];
    if (stop != ' ' && stop != '/' && stop != '>') return 0;
    packed_.AddedUpTo(packedName + length);
    packed_.AddedUpTo(packedValue + (valueEnd - value));
    cursor_.GoTo(valueEnd + 2);
    if (stop != ' ') return stop;
  }
}

char XmlReader::ReadAttribute(bool& preserve) {
  char buffer[XmlCursor::kNameSize];
  const Token name = cursor_.ReadName(buffer);
  Token value{"", name.stop, false};
  if (value.stop == ' ' && *Here() == '=') {
    cursor_.GoTo(Here() + 1);
    value.stop = '=';
  }
  if (value.stop == '=') {
    value = cursor_.ReadValue();
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
  if (end == TagEnd::kMissing)
    cursor_.SetErrorF("Tag <%s> does not have a closing '>'", element.Name());
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
  while (!isComplete && Here() != cursor_.End()) {
    const char* const begin = Here();
    const char* const stop = XmlRunEnds(begin, kXmlMarkupEnd);
    text.AddRun(begin, static_cast<std::size_t>(stop - begin));
    cursor_.GoTo(stop);
    const char c = cursor_.GetChar();
    if (c == '[' || c == ']') isInBrackets = c == '[';
    isComplete =
        c == '>' && (isDocType ? !isInBrackets : !ending.empty() && text.Text().ends_with(ending));
    if (isComplete) break;
    if (c == *stop && Here() == stop + 1)
      text.AddRun(stop, 1);
    else if (c != 0)
      text.AddCopy(&c, 1);
  }
  if (!isComplete) cursor_.SetErrorF(kEndOfInput, element.Name(), element.Name());
  std::string_view content = text.Text();
  if (isComplete) content.remove_suffix(ending.size());
  LXMLElement* const child = tree_.NewText(content, element.IsPreserveWhitespace());
  element.Children().Append(child);
}

}  // namespace

void ReadXmlContent(LXMLElement& element, LXMLLoaderTemplate<char>& loader) {
  XmlReader(loader).ReadContent(element);
}

void ReadXmlElement(LXMLElement& element, char stop, LXMLLoaderTemplate<char>& loader) {
  XmlReader(loader).ReadElement(element, stop);
}
