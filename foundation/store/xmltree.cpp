// SPDX-License-Identifier: MIT
#include "foundation/store/xmltree.h"

#include <cstring>
#include <vector>

#include "foundation/store/xmlattributes.h"

namespace {

char* NewString(const char* text) {
  if (!text) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  return static_cast<char*>(std::memcpy(new char[size], text, size));
}

void PutTerminated(char* place, std::string_view text) {
  std::memcpy(place, text.data(), text.size());
  place[text.size()] = 0;
}

void SetAttributes(LHashTable& table, std::string_view packed) {
  XmlPackedAttributes attributes(packed.data(), packed.size());
  for (XmlAttribute attribute{}; attributes.Next(attribute);)
    table.SetString(attribute.name.data(), attribute.value.data());
}

/// Owns a node for as long as it is in no tree.
class NodeOwner {
 public:
  explicit NodeOwner(LXMLElement* node) { list_.Prepend(node); }
  LXMLElement& Node() { return *list_.Head(); }
  LXMLElement* Release() { return list_.DetachHead(); }

 private:
  LList<LXMLElement> list_;
};

}  // namespace

LXMLElement* XmlTree::NewElement(std::string_view name, bool preserve) const {
  const Block block = Allocate(name.size());
  PutTerminated(block.room, name);
  auto* const element = new (block.node) LXMLElement(preserve);
  element->name_ = block.room;
  return element;
}

void XmlTree::BeginElement(XmlElementPacker& packer) const {
  const std::size_t room = pages_ ? pages_->Room() : 0;
  if (room > sizeof(LXMLElement))
    packer.Begin(pages_->Next() + sizeof(LXMLElement), room - sizeof(LXMLElement));
  else
    packer.Begin(nullptr, 0);
}

LXMLElement* XmlTree::NewElement(const XmlElementPacker& packed, std::size_t nameLength,
                                 bool preserve) const {
  const std::string_view text = packed.Text();
  const std::string_view name = text.substr(0, nameLength);
  const std::string_view attributes = text.substr(nameLength + 1);
  if (attributes.size() > kLargestPacked) {
    NodeOwner owner(NewElement(name, preserve));
    SetAttributes(owner.Node().attributes_, attributes);
    return owner.Release();
  }
  const Block block = Allocate(text.size() - 1);
  if (block.room != text.data()) std::memcpy(block.room, text.data(), text.size());
  auto* const element = new (block.node) LXMLElement(preserve);
  element->name_ = block.room;
  element->packedSize_ = static_cast<std::uint32_t>(attributes.size());
  return element;
}

LXMLElement* XmlTree::NewText(std::string_view text, bool preserve) const {
  const Block block = Allocate(text.size());
  PutTerminated(block.room, text);
  auto* const element = new (block.node) LXMLElement(preserve);
  element->data_ = block.room;
  return element;
}

void XmlTree::CopyNode(LXMLElement& node, const LXMLElement& source) {
  node.preserveWhitespace_ = source.preserveWhitespace_;
  if (source.packedSize_ != 0)
    SetAttributes(node.attributes_,
                  {source.name_ + std::strlen(source.name_) + 1, source.packedSize_});
  else
    LHashTableCopy(node.attributes_, source.attributes_);
  node.name_ = NewString(source.name_);
  node.ownsName_ = node.name_ != nullptr;
  node.data_ = NewString(source.data_);
  node.ownsData_ = node.data_ != nullptr;
}

LXMLElement* XmlTree::NewCopy(const LXMLElement& source) const {
  const char* const text = source.name_ ? source.name_ : source.data_;
  // With the attributes that are packed behind it.
  const std::size_t length = text ? std::strlen(text) + source.packedSize_ : 0;
  const Block block = Allocate(length);
  if (text) std::memcpy(block.room, text, length + 1);
  auto* const copy = new (block.node) LXMLElement(source.preserveWhitespace_);
  NodeOwner owner(copy);
  if (text) {
    (source.name_ ? copy->name_ : copy->data_) = block.room;
    copy->packedSize_ = source.packedSize_;
  }
  if (source.name_ && source.data_) {
    copy->data_ = NewString(source.data_);
    copy->ownsData_ = true;
  }
  LHashTableCopy(copy->attributes_, source.attributes_);
  return owner.Release();
}

void XmlTree::CopyChildren(LXMLElement& node, const LXMLElement& source) const {
  struct Level {
    const LXMLElement* next;
    LList<LXMLElement>::Tail tail;
  };
  std::vector<Level> levels;
  levels.push_back({source.children_.Head(), LList<LXMLElement>::Tail(node.children_)});
  while (!levels.empty()) {
    Level& level = levels.back();
    const LXMLElement* const original = level.next;
    if (!original) {
      levels.pop_back();
      continue;
    }
    level.next = LList<LXMLElement>::Next(*original);
    LXMLElement* const copy = NewCopy(*original);
    level.tail.Append(copy);
    if (!original->children_.IsEmpty())
      levels.push_back({original->children_.Head(), LList<LXMLElement>::Tail(copy->children_)});
  }
}
