// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLREADER_H
#define ZORVEX_FOUNDATION_STORE_XMLREADER_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "foundation/store/blockpages.h"
#include "foundation/store/xmlattributes.h"
#include "foundation/store/xmlcharacters.h"
#include "foundation/store/xmlelement.h"
#include "foundation/store/xmlpendingtext.h"
#include "foundation/store/xmltree.h"

/// Reads a tree. It goes on wherever the loader is and leaves the loader where it stops.
///
/// What names and values are is written down once, in XMLLoadTag and XMLLoadAttribute. Those that
/// need neither decoding nor cutting, nearly all, are looked at where they stand instead.
///
/// Elements that are open are on a stack of the heap's, so that their depth has no other limit.
class XmlReader {
 public:
  using Loader = LXMLLoaderTemplate<char>;

  explicit XmlReader(Loader& loader);

  /// As LXMLElement::LoadData.
  void ReadContent(LXMLElement& element);
  /// The attributes and the content of an element without any, whose name has been read.
  void ReadElement(LXMLElement& element, char stop);

 private:
  struct OpenElement {
    LXMLElement* element;
    LList<LXMLElement>::Tail children;
    std::size_t plainLength;  // of a name that stands in a tag as it is, else 0
  };
  /// A name or a value: in the text, or in one of the buffers below.
  struct Token {
    std::string_view text;
    char stop;
    bool isPlain;  // in the text
  };

  /// What a start tag ended with.
  enum class TagEnd { kContent, kEmpty, kMissing };

  [[nodiscard]] const char* Here() const { return loader_.text + loader_.position; }
  /// Goes on by characters of which none is a line end.
  void Skip(const char* to);
  /// Reads the character that ended a name or a value.
  char TakeStop();
  [[nodiscard]] bool IsToCheck() const { return loader_.position - checked_ >= kCheckDistance; }

  [[nodiscard]] const char* ReadableBehind(const Token& token) const {
    return token.isPlain ? end_ : token.text.data() + token.text.size();
  }

  void Open(LXMLElement& element, std::size_t plainLength);
  void ReadOpenElements();
  /// Reads text up to a "<", or the end; false when that is to be all.
  bool ReadText();
  void SkipRun(const XmlTextRun& run);
  void StoreText();
  void ReadTag();
  void ReadEndTag();
  bool ReadMatchingEndTag();
  void EndUnclosed();
  Token ReadName(char* buffer);
  Token ReadValue();
  bool ReadQuoted(Token& value);
  /// Packs the attributes of a start tag; xml:space sets `preserve` instead.
  TagEnd ReadAttributes(std::string_view name, char stop, bool& preserve);
  /// Reads attributes as long as they are written as `name="value"`, with one space in between.
  /// Returns the character that ended the last one, or 0 when another kind of attribute follows.
  char ReadPlainAttributes();
  char ReadAttribute(bool& preserve);
  bool HasContent(LXMLElement& element, TagEnd end);
  void ReadMarkup(LXMLElement& element);
  void SetErrorF(const char* format, const char* first, const char* second = "",
                 const char* third = "");

  // So often, in bytes, it is asked whether to stop.
  static constexpr std::uint64_t kCheckDistance = 512;
  static constexpr std::size_t kNameSize = 260;

  Loader& loader_;
  const char* const end_;
  std::uint64_t checked_;  // position
  BlockPages pages_;
  XmlTree tree_;
  std::vector<OpenElement> open_;
  XmlPendingText pending_;
  XmlAttributePacker packed_;
  LStringLongTemplate<char> value_;
};

#endif  // ZORVEX_FOUNDATION_STORE_XMLREADER_H
