// SPDX-License-Identifier: MIT
#include <strings.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "foundation/store/xmlattributes.h"
#include "foundation/store/xmlcharacters.h"
#include "foundation/store/xmlelement.h"
#include "foundation/store/xmltree.h"
#include "foundation/text/stringwriter.h"

namespace {

/// A writer wants room to begin with.
LStringLongTemplate<char>& WithRoom(LStringLongTemplate<char>& out) {
  out.GrowToSize(260);
  return out;
}

bool IsBlank(const char* text) {
  while (*text == '\t' || *text == '\n' || *text == '\r' || *text == ' ')
    ++text;
  return *text == 0;
}

std::string_view Entity(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    default:
      return "&quot;";
  }
}

/// What closes a comment and its like.
std::string_view ClosingMark(std::string_view name) {
  constexpr std::string_view kCdata = "![CDATA[";
  if (name == "!--") return "-->";
  if (name.size() == kCdata.size() && strncasecmp(name.data(), kCdata.data(), name.size()) == 0)
    return "]]>";
  return ">";
}

/// Writes a tree behind the text of a string, which it terminates at its end. The way from the
/// first node to the one that is being written is on a stack of the heap's.
class XmlWriter {
 public:
  enum class Layout {
    kFormatted,  ///< as LXMLElement::SaveToBuffer
    kAsItIs,     ///< as LXMLElement::SaveToBufferNoFormatting
  };

  XmlWriter(LStringLongTemplate<char>& out, Layout layout);
  XmlWriter(const XmlWriter&) = delete;
  XmlWriter& operator=(const XmlWriter&) = delete;
  ~XmlWriter() { writer_.Terminate(); }

  /// False when it was a text node and nothing was written.
  bool Write(const LXMLElement& node, int depth);

 private:
  struct OpenElement {
    std::string_view name;
    const LXMLElement* nextChild;
    int depth;
    bool hasElements;
  };
  enum class Content { kNone, kText, kElements };

  [[nodiscard]] bool IsFormatted() const { return layout_ == Layout::kFormatted; }
  [[nodiscard]] bool IsWritten(const LXMLElement& textNode) const;
  [[nodiscard]] Content ContentOf(const LXMLElement& element) const;
  bool WriteText(const LXMLElement& node);
  void Begin(const LXMLElement& element, int depth);
  void End(const OpenElement& open);
  void WriteMarkup(const LXMLElement& element, std::string_view name);
  void WriteAttributes(const LXMLElement& element, std::string_view name);
  void WriteAttribute(const XmlAttribute& attribute);

  void Add(std::string_view text) { writer_.AddCharacters(text.data(), text.size()); }
  /// What may be read from the text on ends at `readable`; this also in the next.
  void AddShort(std::string_view text, const char* readable);
  /// As LHTMLEncodeToWriterSimple; with `areLineEndsUnified` every line end is written as LF.
  void AddEscaped(std::string_view text, const char* readable, bool areLineEndsUnified);
  void AddFromEscape(std::string_view text, std::size_t place, const char* readable,
                     bool areLineEndsUnified);
  void AddTabs(int count);
  /// The line break behind what is complete, in the layouts that have one.
  void EndLine(int depth);

  LStringLongTemplateAppender<char> writer_;
  const Layout layout_;
  std::vector<OpenElement> open_;
  XmlAttributesInOrder attributesInOrder_;
};

XmlWriter::XmlWriter(LStringLongTemplate<char>& out, Layout layout)
    : writer_(WithRoom(out)), layout_(layout) {}

bool XmlWriter::Write(const LXMLElement& node, int depth) {
  if (!node.Name()) return WriteText(node);
  Begin(node, depth);
  while (!open_.empty()) {
    OpenElement& open = open_.back();
    const LXMLElement* const child = open.nextChild;
    if (!child) {
      End(open);
      open_.pop_back();
      continue;
    }
    open.nextChild = LList<LXMLElement>::Next(*child);
    PrefetchXmlNodes(child);
    if (child->Name())
      Begin(*child, open.depth < 0 ? -1 : open.depth + 1);
    else
      WriteText(*child);
  }
  return true;
}

bool XmlWriter::IsWritten(const LXMLElement& textNode) const {
  const char* const text = textNode.Data();
  if (!text) return false;
  return IsFormatted() ? !IsBlank(text) : *text != 0;
}

bool XmlWriter::WriteText(const LXMLElement& node) {
  if (!IsWritten(node)) return false;
  const std::string_view text = node.Data();
  AddEscaped(text, text.data() + text.size(), IsFormatted());
  return true;
}

XmlWriter::Content XmlWriter::ContentOf(const LXMLElement& element) const {
  Content content = Content::kNone;
  for (const LXMLElement& child : element.Children()) {
    if (child.Name()) return Content::kElements;
    if (content == Content::kNone && IsWritten(child)) content = Content::kText;
  }
  return content;
}

void XmlWriter::Begin(const LXMLElement& element, int depth) {
  const std::string_view name = element.Name();
  if (IsFormatted()) AddTabs(depth);
  writer_.AddChar('<');
  Add(name);
  if (name.starts_with('!')) {
    WriteMarkup(element, name);
    EndLine(depth);
    return;
  }
  WriteAttributes(element, name);
  const Content content = ContentOf(element);
  if (content == Content::kNone) {
    Add(name.starts_with('?') ? "?>" : "/>");
    EndLine(depth);
    return;
  }
  writer_.AddChar('>');
  const bool hasElements = content == Content::kElements;
  if (hasElements) EndLine(depth);
  open_.push_back({name, element.Children().Head(), depth, hasElements});
}

void XmlWriter::End(const OpenElement& open) {
  if (IsFormatted() && open.hasElements) AddTabs(open.depth);
  Add("</");
  Add(open.name);
  writer_.AddChar('>');
  // Also at a negative depth, unlike everywhere else; that is deliberate.
  EndLine(0);
}

void XmlWriter::WriteMarkup(const LXMLElement& element, std::string_view name) {
  for (const LXMLElement& child : element.Children())
    if (child.Data()) Add(child.Data());
  Add(ClosingMark(name));
}

void XmlWriter::WriteAttributes(const LXMLElement& element, std::string_view name) {
  const std::vector<XmlAttribute>& attributes = attributesInOrder_.Of(element, name);
  if (attributes.empty()) return;
  const bool isDeclaration = name == "?xml";
  const auto isVersion = [](const XmlAttribute& attribute) { return attribute.name == "version"; };
  if (isDeclaration) {
    const auto version = std::find_if(attributes.begin(), attributes.end(), isVersion);
    if (version != attributes.end() && !version->value.empty()) WriteAttribute(*version);
  }
  for (const XmlAttribute& attribute : attributes)
    if (!isDeclaration || !isVersion(attribute)) WriteAttribute(attribute);
}

void XmlWriter::WriteAttribute(const XmlAttribute& attribute) {
  const auto readableFrom = [&](std::string_view text) {
    return attribute.readable ? attribute.readable : text.data() + text.size();
  };
  writer_.AddChar(' ');
  AddShort(attribute.name, readableFrom(attribute.name));
  writer_.AddChar('=');
  writer_.AddChar('"');
  AddEscaped(attribute.value, readableFrom(attribute.value), false);
  writer_.AddChar('"');
}

inline void XmlWriter::AddShort(std::string_view text, const char* readable) {
  if (writer_.Room() < text.size() + kXmlBlock) {
    Add(text);
    return;
  }
  CopyShortXml(writer_.Next(), text.data(), text.size(), readable);
  writer_.Advance(text.size());
}

inline void XmlWriter::AddEscaped(std::string_view text, const char* readable,
                                  bool areLineEndsUnified) {
  const std::size_t plain = FindXmlEscape(text, readable, areLineEndsUnified);
  AddShort(text.substr(0, plain), readable);
  if (plain != text.size()) AddFromEscape(text, plain, readable, areLineEndsUnified);
}

/// The rest, from a character on that is written as something else.
void XmlWriter::AddFromEscape(std::string_view text, std::size_t place, const char* readable,
                              bool areLineEndsUnified) {
  std::size_t begin = 0;  // of the plain characters in front of the place
  while (place != text.size()) {
    const char c = text[place];
    const bool isBehindLineFeed = place > begin && text[place - 1] == '\n';
    ++place;
    if (c != '\r') {
      Add(Entity(c));
    } else if (!isBehindLineFeed) {  // else they are one line end
      writer_.AddChar('\n');
      if (place != text.size() && text[place] == '\n') ++place;
    }
    begin = place;
    const std::string_view rest = text.substr(begin);
    place += FindXmlEscape(rest, readable, areLineEndsUnified);
    AddShort(rest.substr(0, place - begin), readable);
  }
}

void XmlWriter::AddTabs(int count) {
  for (; count > 0; --count)
    writer_.AddChar('\t');
}

void XmlWriter::EndLine(int depth) {
  if (IsFormatted() && depth >= 0) writer_.AddChar('\n');
}

}  // namespace

bool LXMLElement::SaveToBuffer(LStringLongTemplate<char>& out, int depth) const {
  return XmlWriter(out, XmlWriter::Layout::kFormatted).Write(*this, depth);
}

bool LXMLElement::SaveToBufferNoFormatting(LStringLongTemplate<char>& out) const {
  return XmlWriter(out, XmlWriter::Layout::kAsItIs).Write(*this, 0);
}
