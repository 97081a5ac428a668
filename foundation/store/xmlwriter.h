// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLWRITER_H
#define ZORVEX_FOUNDATION_STORE_XMLWRITER_H

#include <string_view>
#include <vector>

#include "foundation/store/xmlattributes.h"
#include "foundation/store/xmlelement.h"
#include "foundation/text/stringwriter.h"

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
  void AddEscaped(std::string_view text, const char* readable, bool areLineEndsUnified);
  void AddTabs(int count);
  /// The line break behind what is complete, in the layouts that have one.
  void EndLine(int depth);

  LStringLongTemplateAppender<char> writer_;
  const Layout layout_;
  std::vector<OpenElement> open_;
  XmlAttributesInOrder attributesInOrder_;
};

#endif  // ZORVEX_FOUNDATION_STORE_XMLWRITER_H
