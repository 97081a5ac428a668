// SPDX-License-Identifier: MIT
#include "foundation/store/xmlattributes.h"

#include <algorithm>
#include <utility>

namespace {

bool IsBefore(const XmlAttribute& a, const XmlAttribute& b) {
  return a.name < b.name;
}

bool IsAscending(const std::vector<XmlAttribute>& attributes) {
  const auto isNotBefore = [](const XmlAttribute& a, const XmlAttribute& b) {
    return !IsBefore(a, b);
  };
  return std::adjacent_find(attributes.begin(), attributes.end(), isNotBefore) == attributes.end();
}

}  // namespace

void XmlAttributePacker::Grow(std::size_t needed) {
  const std::size_t capacity = std::max<std::size_t>(2 * needed, 1024);
  std::unique_ptr<char[]> larger(new char[capacity]);
  std::copy_n(buffer_.get(), size_, larger.get());
  buffer_ = std::move(larger);
  capacity_ = capacity;
}

const std::vector<XmlAttribute>& XmlAttributesInOrder::Of(const LXMLElement& element) {
  attributes_.clear();
  if (element.packedSize_ == 0) {
    for (LHashTableConstIterator entry(element.attributes_.Entries()); entry.Current();
         entry.Next()) {
      const LStringLongKey& key = entry.Current()->key;
      const LStringLongTemplate<char>& value = *entry.Current()->value;
      attributes_.push_back({{key.Text(), key.Length()}, {value.Text(), value.Length()}, nullptr});
    }
    return attributes_;
  }
  XmlPackedAttributes packed(element.name_ + std::strlen(element.name_) + 1, element.packedSize_);
  for (XmlAttribute attribute{}; packed.Next(attribute);)
    attributes_.push_back(attribute);
  if (IsAscending(attributes_)) return attributes_;
  // Of those with one name, the last in the file comes first and stays.
  std::reverse(attributes_.begin(), attributes_.end());
  std::stable_sort(attributes_.begin(), attributes_.end(), IsBefore);
  const auto isSame = [](const XmlAttribute& a, const XmlAttribute& b) { return a.name == b.name; };
  attributes_.erase(std::unique(attributes_.begin(), attributes_.end(), isSame), attributes_.end());
  return attributes_;
}
