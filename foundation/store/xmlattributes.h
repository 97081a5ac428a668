// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLATTRIBUTES_H
#define ZORVEX_FOUNDATION_STORE_XMLATTRIBUTES_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "foundation/store/xmlcharacters.h"
#include "foundation/store/xmlelement.h"

/// \file
/// Attributes as they are kept until somebody asks for their table: packed behind the name of their
/// element as "name\0value\0name\0value\0", in the order of the file, of equal names the last one
/// counting. Tables of all of them would be most of the memory that a tree takes, and most elements
/// of a file that is loaded are never asked.

struct XmlAttribute {
  std::string_view name;  // terminated, as is the value
  std::string_view value;
  const char* readable;  // what may be read from both on ends there
};

/// Walks over packed attributes.
class XmlPackedAttributes {
 public:
  XmlPackedAttributes(const char* packed, std::size_t size) : next_(packed), end_(packed + size) {}

  bool Next(XmlAttribute& attribute) {
    if (next_ == end_) return false;
    attribute.name = {next_, ShortXmlLength(next_, end_)};
    const char* const value = next_ + attribute.name.size() + 1;
    attribute.value = {value, ShortXmlLength(value, end_)};
    attribute.readable = end_;
    next_ = value + attribute.value.size() + 1;
    return true;
  }

 private:
  const char* next_;
  const char* end_;
};

/// Packs the name of an element and its attributes, those of one element after the other: right
/// where they are to lie, as long as there is room, else in a buffer.
class XmlElementPacker {
 public:
  XmlElementPacker() = default;
  XmlElementPacker(const XmlElementPacker&) = delete;
  XmlElementPacker& operator=(const XmlElementPacker&) = delete;

  void Begin(char* room, std::size_t size) {
    begin_ = next_ = room;
    end_ = room + size;
  }
  /// Adds a name, or a value. `readable` is the end of what may be read from the text on.
  void Add(std::string_view text, const char* readable) {
    const std::size_t needed = text.size() + kSlack;
    if (needed > static_cast<std::size_t>(end_ - next_)) Grow(needed);
    CopyShortXml(next_, text.data(), text.size(), readable);
    AddedUpTo(next_ + text.size());
  }
  /// Adds by hand: characters may be stored from Next() on up to End(), and are then terminated.
  [[nodiscard]] char* Next() const { return next_; }
  [[nodiscard]] const char* End() const { return end_; }
  void AddedUpTo(char* place) {
    *place = 0;
    next_ = place + 1;
  }
  /// Good until the next change. Never with a null pointer in it.
  [[nodiscard]] std::string_view Text() const {
    return next_ == begin_ ? std::string_view("")
                           : std::string_view(begin_, static_cast<std::size_t>(next_ - begin_));
  }

 private:
  static constexpr std::size_t kSlack = 16;  // CopyShortXml, or the terminator

  void Grow(std::size_t needed);

  char* begin_ = nullptr;
  char* next_ = nullptr;
  char* end_ = nullptr;
  std::unique_ptr<char[]> buffer_;
};

/// The attributes of an element in ascending order of the bytes of their names, each name once,
/// without making a table of them. One object serves for one element after the other.
class XmlAttributesInOrder {
 public:
  /// Of an element that has that name. Good until the element changes, or the next call.
  const std::vector<XmlAttribute>& Of(const LXMLElement& element, std::string_view name);

 private:
  std::vector<XmlAttribute> attributes_;
};

#endif  // ZORVEX_FOUNDATION_STORE_XMLATTRIBUTES_H
