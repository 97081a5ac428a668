// SPDX-License-Identifier: MIT
#include "foundation/store/xmlattributes.h"

#include <algorithm>
#include <utility>

namespace {

bool IsBefore(const XmlAttribute& a, const XmlAttribute& b) {
  // Nearly always the first byte says it all. Names are terminated.
  const auto first = static_cast<unsigned char>(*a.name.data());
  const auto second = static_cast<unsigned char>(*b.name.data());
  return first != second ? first < second : a.name < b.name;
}

}  // namespace

void XmlElementPacker::Grow(std::size_t needed) {
  const auto size = static_cast<std::size_t>(next_ - begin_);
  const std::size_t capacity = std::max<std::size_t>(2 * (size + needed), 1024);
  std::unique_ptr<char[]> larger(new char[capacity]);
  std::copy_n(begin_, size, larger.get());
  buffer_ = std::move(larger);
  Begin(buffer_.get(), capacity);
  next_ += size;
}

const std::vector<XmlAttribute>& XmlAttributesInOrder::Of(const LXMLElement& element,
                                                          std::string_view name) {
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
  XmlPackedAttributes packed(name.data() + name.size() + 1, element.packedSize_);
  bool isAscending = true;
  for (XmlAttribute attribute{}; packed.Next(attribute);) {
    if (!attributes_.empty()) isAscending = isAscending && IsBefore(attributes_.back(), attribute);
    attributes_.push_back(attribute);
  }
  if (isAscending) return attributes_;
  // Of those with one name, the last in the file comes first and stays.
  std::reverse(attributes_.begin(), attributes_.end());
  std::stable_sort(attributes_.begin(), attributes_.end(), IsBefore);
  const auto isSame = [](const XmlAttribute& a, const XmlAttribute& b) { return a.name == b.name; };
  attributes_.erase(std::unique(attributes_.begin(), attributes_.end(), isSame), attributes_.end());
  return attributes_;
}
