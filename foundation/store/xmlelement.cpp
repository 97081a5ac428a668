// SPDX-License-Identifier: MIT
#include "foundation/store/xmlelement.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>

#include "foundation/store/blockpages.h"
#include "foundation/store/xmlattributes.h"
#include "foundation/store/xmlreader.h"
#include "foundation/store/xmltree.h"

// A reading cursor is made by whoever loads.
static_assert(std::is_aggregate_v<LXMLLoaderTemplate<char>>);

namespace {

/// For functions that write into a buffer without a size.
constexpr std::size_t kFixedBuffer = 260;

/// A null text reads as the empty one.
const char* Text(const char* text) {
  return text ? text : "";
}

}  // namespace

void* LXMLElement::operator new(std::size_t size) {
  return BlockPages::AllocateAlone(size);
}

void LXMLElement::operator delete(void* element) noexcept {
  BlockPages::Free(element);
}

LXMLElement::LXMLElement(const char* name, char stopChar, LXMLLoaderTemplate<char>& loader,
                         bool preserve)
    : LXMLElement(preserve) {
  const std::size_t size = std::strlen(Text(name)) + 1;
  name_ = static_cast<char*>(std::memcpy(new char[size], Text(name), size));
  ownsName_ = true;
  ReadXmlElement(*this, stopChar, loader);
}

LXMLElement::LXMLElement(const LXMLElement& other) : LXMLElement(other.preserveWhitespace_) {
  XmlTree::CopyNode(*this, other);
  BlockPages pages;
  XmlTree(&pages).CopyChildren(*this, other);
}

LXMLElement& LXMLElement::operator=(const LXMLElement& other) {
  // What is here may be what is copied, or have it below. The copy has nothing packed.
  LXMLElement copy(other);
  packedSize_ = 0;
  std::swap(preserveWhitespace_, copy.preserveWhitespace_);
  std::swap(attributes_, copy.attributes_);
  std::swap(children_, copy.children_);
  std::swap(name_, copy.name_);
  std::swap(ownsName_, copy.ownsName_);
  std::swap(data_, copy.data_);
  std::swap(ownsData_, copy.ownsData_);
  return *this;
}

LXMLElement::~LXMLElement() {
  ClearChildren();
  if (ownsName_) delete[] name_;
  if (ownsData_) delete[] data_;
}

void LXMLElement::MakeAttributeTable() const {
  XmlPackedAttributes packed(name_ + std::strlen(name_) + 1, packedSize_);
  for (XmlAttribute attribute{}; packed.Next(attribute);)
    attributes_.SetString(attribute.name.data(), attribute.value.data());
  packedSize_ = 0;
}

/// Without recursion: an element whose children are being freed is linked to its parent in place of
/// its next sibling, and the parent keeps the siblings that are left. Nodes without children are
/// only read: to write to each would take as long as all the rest.
void LXMLElement::ClearChildren() {
  BlockPages::Batch freed;
  const auto free = [&](LXMLElement* node) {
    if (node->ownsName_ || node->ownsData_ || node->attributes_.Entries().Root())
      node->~LXMLElement();
    freed.Free(node);
  };
  LXMLElement* parent = this;
  LXMLElement* node = children_.Release();
  for (;;) {
    if (!node) {
      if (parent == this) return;
      LXMLElement* const emptied = std::exchange(parent, parent->next_);
      free(emptied);
      node = parent->children_.Release();
      continue;
    }
    PrefetchXmlNodes(node);
    LXMLElement* const next = node->next_;
    if (node->children_.IsEmpty()) {
      free(node);
      node = next;
    } else {
      parent->children_.Adopt(next);
      node->next_ = std::exchange(parent, node);
      node = parent->children_.Release();
    }
  }
}

const char* LXMLElement::GetElementData() const {
  if (data_) return data_;
  const LXMLElement* child = children_.Head();
  return child ? Text(child->data_) : "";
}

bool LXMLElementHasName(const LXMLElement& element, const char* name) {
  return std::strcmp(Text(element.Name()), Text(name)) == 0;
}

const LXMLElement* LXMLElement::GetElement(const char* name) const {
  for (const LXMLElement& child : children_)
    if (LXMLElementHasName(child, name)) return &child;
  return nullptr;
}

LXMLElement* LXMLElement::GetElement(const char* name) {
  return const_cast<LXMLElement*>(std::as_const(*this).GetElement(name));
}

LXMLElement* LXMLElement::AddElement(const char* name) {
  LXMLElement* const element = XmlTree(nullptr).NewElement(Text(name), preserveWhitespace_);
  children_.Append(element);
  return element;
}

void LXMLElement::DeleteElement(const char* name) {
  // A copy: the name may be that of a child.
  const std::string wanted = Text(name);
  children_.DeleteIf(
      [&](const LXMLElement& child) { return LXMLElementHasName(child, wanted.c_str()); });
}

const LXMLElement* LXMLElement::FindFilled(const char* name) const {
  const LXMLElement* element = GetElement(name);
  return element && (element->name_ || element->data_) ? element : nullptr;
}

bool LXMLElement::TestFieldExists(const char* name) const {
  return FindFilled(name) != nullptr;
}

void LXMLElement::GetString(const char* name, const char* defaultValue, char* out) const {
  const LXMLElement* element = FindFilled(name);
  const char* text = element ? element->GetElementData() : Text(defaultValue);
  const std::size_t length = strnlen(text, kFixedBuffer - 1);
  // Moved: the default may stand in `out`.
  std::memmove(out, text, length);
  out[length] = 0;
}

void LXMLElement::SetString(const char* name, const char* value) {
  LXMLElement* element = GetElement(name);
  if (!element) return;
  // Before the children go: the value may be the text of one.
  LXMLElement* const text = XmlTree(nullptr).NewText(Text(value), element->preserveWhitespace_);
  element->ClearChildren();
  element->children_.Append(text);
}

int LXMLElement::GetInt(const char* name, int defaultValue) const {
  const LXMLElement* element = GetElement(name);
  return element ? static_cast<int>(std::strtol(element->GetElementData(), nullptr, 10))
                 : defaultValue;
}

void LXMLElement::SetInt(const char* name, int value) {
  char digits[16];
  *std::to_chars(digits, std::end(digits) - 1, value).ptr = 0;
  SetString(name, digits);
}

double LXMLElement::GetFloat(const char* name) const {
  return GetFloat(name, 0);
}

double LXMLElement::GetFloat(const char* name, double defaultValue) const {
  char text[kFixedBuffer];
  GetString(name, "", text);
  return *text ? std::strtod(text, nullptr) : defaultValue;
}

void LXMLElement::SetFloat(const char* name, double value) {
  // A sign, 309 digits, the point in up to four bytes, six decimals.
  char digits[336];
  std::snprintf(digits, sizeof digits, "%f", value);
  SetString(name, digits);
}

void LXMLElement::LoadData(LXMLLoaderTemplate<char>& loader) {
  ReadXmlContent(*this, loader);
}
