// SPDX-License-Identifier: MIT
#include "foundation/store/xmlwriter.h"

#include <strings.h>

#include <algorithm>

#include "foundation/store/xmlcharacters.h"

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

}  // namespace

bool LXMLElement::SaveToBuffer(LStringLongTemplate<char>& out, int depth) const {
  return XmlWriter(out, XmlWriter::Layout::kFormatted).Write(*this, depth);
}

bool LXMLElement::SaveToBufferNoFormatting(LStringLongTemplate<char>& out) const {
  return XmlWriter(out, XmlWriter::Layout::kAsItIs).Write(*this, 0);
}

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
  const std::vector<XmlAttribute>& attributes = attributesInOrder_.Of(element);
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

void XmlWriter::AddShort(std::string_view text, const char* readable) {
  if (writer_.Room() < text.size() + kXmlBlock) {
    Add(text);
    return;
  }
  CopyShortXml(writer_.Next(), text.data(), text.size(), readable);
  writer_.Advance(text.size());
}

/// As LHTMLEncodeToWriterSimple; with `areLineEndsUnified` every line end is written as LF.
void XmlWriter::AddEscaped(std::string_view text, const char* readable, bool areLineEndsUnified) {
  while (!text.empty()) {
    const std::size_t plain = FindXmlEscape(text, readable, areLineEndsUnified);
    AddShort(text.substr(0, plain), readable);
    if (plain == text.size()) return;
    const char c = text[plain];
    const bool isBehindLineFeed = plain > 0 && text[plain - 1] == '\n';
    text.remove_prefix(plain + 1);
    if (c != '\r') {
      Add(Entity(c));
    } else if (!isBehindLineFeed) {  // else they are one line end
      writer_.AddChar('\n');
      if (text.starts_with('\n')) text.remove_prefix(1);
    }
  }
}

void XmlWriter::AddTabs(int count) {
  for (; count > 0; --count)
    writer_.AddChar('\t');
}

void XmlWriter::EndLine(int depth) {
  if (IsFormatted() && depth >= 0) writer_.AddChar('\n');
}
