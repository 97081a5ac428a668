// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLTREE_H
#define ZORVEX_FOUNDATION_STORE_XMLTREE_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/store/blockpages.h"
#include "foundation/store/xmlattributes.h"
#include "foundation/store/xmlelement.h"

/// Makes the nodes of XML trees. A node is one block of memory with its text behind it; where pages
/// are given, the block lies there. Whoever asks for a node owns it. All throw std::bad_alloc.
class XmlTree {
 public:
  /// Packed attributes that take more room go into a table at once.
  static constexpr std::size_t kLargestPacked = std::size_t{1} << 20;

  explicit XmlTree(BlockPages* pages) : pages_(pages) {}

  [[nodiscard]] LXMLElement* NewElement(std::string_view name, bool preserve) const;
  /// Begins to pack the name and the attributes of the next element. No other node may be made
  /// before that one.
  void BeginElement(XmlElementPacker& packer) const;
  [[nodiscard]] LXMLElement* NewElement(const XmlElementPacker& packed, std::size_t nameLength,
                                        bool preserve) const;
  [[nodiscard]] LXMLElement* NewText(std::string_view text, bool preserve) const;

  /// Makes `node`, which has no name, data and attributes, equal to `source` in all but the
  /// children, with strings of its own.
  static void CopyNode(LXMLElement& node, const LXMLElement& source);
  /// Copies the children, with everything below, behind those that the node has.
  void CopyChildren(LXMLElement& node, const LXMLElement& source) const;

 private:
  /// Memory for a node, and behind it for as many characters and a terminator.
  struct Block {
    char* node;
    char* room;
  };
  [[nodiscard]] Block Allocate(std::size_t length) const {
    const std::size_t size = sizeof(LXMLElement) + length + 1;
    void* const block = pages_ ? pages_->Allocate(size) : BlockPages::AllocateAlone(size);
    return {static_cast<char*>(block), static_cast<char*>(block) + sizeof(LXMLElement)};
  }
  [[nodiscard]] LXMLElement* NewCopy(const LXMLElement& source) const;

  BlockPages* pages_;
};

/// For who walks over a tree: nodes that were loaded lie behind each other in their order, and to
/// wait for each of them would take longer than what is done with it.
inline void PrefetchXmlNodes(const LXMLElement* node) {
  __builtin_prefetch(reinterpret_cast<const char*>(node) + 4096);
}

#endif  // ZORVEX_FOUNDATION_STORE_XMLTREE_H
