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

/// Packs attributes, those of one element after the other.
class XmlAttributePacker {
 public:
  void Clear() { size_ = 0; }
  /// Adds a name, or a value. `readable` is the end of what may be read from the text on.
  void Add(std::string_view text, const char* readable) {
    const std::size_t needed = size_ + text.size() + kSlack;
    if (needed > capacity_) Grow(needed);
    char* const place = buffer_.get() + size_;
    CopyShortXml(place, text.data(), text.size(), readable);
    place[text.size()] = 0;
    size_ += text.size() + 1;
  }
  /// Good until the next change. Never with a null pointer in it.
  [[nodiscard]] std::string_view Text() const {
    return size_ == 0 ? std::string_view("") : std::string_view(buffer_.get(), size_);
  }

 private:
  static constexpr std::size_t kSlack = 16;  // CopyShortXml, or the terminator

  void Grow(std::size_t needed);

  std::unique_ptr<char[]> buffer_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

/// The attributes of an element in ascending order of the bytes of their names, each name once,
/// without making a table of them. One object serves for one element after the other.
class XmlAttributesInOrder {
 public:
  /// Good until the element changes, or the next call.
  const std::vector<XmlAttribute>& Of(const LXMLElement& element);

 private:
  std::vector<XmlAttribute> attributes_;
};

#endif  // ZORVEX_FOUNDATION_STORE_XMLATTRIBUTES_H
