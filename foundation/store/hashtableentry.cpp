// SPDX-License-Identifier: MIT
#include "foundation/store/hashtableentry.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

using String = LStringLongTemplate<char>;

/// What only the owner of a string's memory may do.
struct LStringLongInBlock {
  static void Set(String& string, char* buffer, std::uint64_t length) {
    string.buffer_ = buffer;
    string.length_ = length;
    string.capacity_ = length + 1;
  }
};

namespace {

struct Entry {
  LHashTable::Node node;
  alignas(String) std::byte value[sizeof(String)];
  std::uint16_t valueRoom;  // bytes in the block for the value text and its terminator
  std::uint8_t skip;        // where the rank begins in the key; the same in the whole tree
};

// The texts follow the entry at once, without padding.
constexpr std::size_t kTextOffset = offsetof(Entry, skip) + sizeof(Entry::skip);

// The ranks are made anew at most as many times.
constexpr std::size_t kLargestSkip = 64;
static_assert(kLargestSkip <= UINT8_MAX);

// A longer value is given a buffer of its own at once: when it is replaced, its place in the block
// would stay unused.
constexpr std::size_t kLongestInBlock = 4096;

Entry& EntryOf(LHashTable::Node& node) {
  return reinterpret_cast<Entry&>(node);
}

std::uint64_t SkipOf(const LHashTable::Node& node) {
  return reinterpret_cast<const Entry&>(node).skip;
}

char* KeyText(Entry& entry) {
  return reinterpret_cast<char*>(&entry) + kTextOffset;
}

char* ValuePlace(Entry& entry) {
  return KeyText(entry) + entry.node.key.Capacity();
}

void Store(String& value, char* buffer, std::string_view text) {
  // Moved: a part of the old text may be the new one.
  std::memmove(buffer, text.data(), text.size());
  buffer[text.size()] = 0;
  LStringLongInBlock::Set(value, buffer, text.size());
}

}  // namespace

const LHashTable::Node* FindHashTableEntry(const LHashTable::Tree& tree, std::string_view key) {
  const LHashTable::Node* root = tree.Root();
  if (!root) return nullptr;
  const std::uint64_t skip = SkipOf(*root);
  const bool beginsDifferently =
      skip > 0 && (key.size() < skip || std::memcmp(key.data(), root->key.Text(), skip) != 0);
  return beginsDifferently ? nullptr : tree.Find({key.data(), key.size(), skip});
}

LHashTable::Node* FindHashTableEntry(LHashTable::Tree& tree, std::string_view key) {
  return const_cast<LHashTable::Node*>(FindHashTableEntry(std::as_const(tree), key));
}

LStringLongKey::Probe ProbeToAdd(LHashTable::Tree& tree, std::string_view key) {
  const LHashTable::Node* root = tree.Root();
  if (!root) return {key.data(), key.size(), std::min(key.size(), kLargestSkip)};
  const std::uint64_t oldSkip = SkipOf(*root);
  const std::string_view common = key.substr(0, oldSkip);
  const auto skip = static_cast<std::uint64_t>(
      std::mismatch(common.begin(), common.end(), root->key.Text()).first - common.begin());
  if (skip < oldSkip) {
    for (LHashTable::Node* node = tree.First(); node; node = LHashTable::Tree::Next(node)) {
      node->rank = LStringLongKey::RankOf(node->key.Text(), node->key.Length(), skip);
      EntryOf(*node).skip = static_cast<std::uint8_t>(skip);
    }
  }
  return {key.data(), key.size(), skip};
}

LHashTable::Node* MakeHashTableEntry(const LStringLongKey::Probe& key, std::string_view value) {
  const bool isInBlock = value.size() < kLongestInBlock;
  const std::size_t needed = kTextOffset + key.length + 1 + (isInBlock ? value.size() + 1 : 0);
  // Blocks come in steps of 16 bytes, 8 of which the allocator keeps; the rest is for the value.
  const std::size_t size = std::max((needed + 8 + 15) / 16 * 16 - 8, sizeof(Entry));
  std::unique_ptr<char[]> longText(isInBlock ? nullptr : new char[value.size() + 1]);

  auto* entry = new (::operator new(size)) Entry;
  entry->valueRoom = static_cast<std::uint16_t>(size - kTextOffset - key.length - 1);
  entry->skip = static_cast<std::uint8_t>(key.skip);
  std::memcpy(KeyText(*entry), key.text, key.length + 1);
  entry->node.key = LStringLongKey(KeyText(*entry), key.length);
  entry->node.rank = key.rank;
  entry->node.value = new (entry->value) String;
  Store(*entry->node.value, isInBlock ? ValuePlace(*entry) : longText.release(), value);
  return &entry->node;
}

void AssignHashTableValue(LHashTable::Node& node, std::string_view text) {
  Entry& entry = EntryOf(node);
  char* const place = ValuePlace(entry);
  char* const old = node.value->Buffer();
  char* const buffer = text.size() < entry.valueRoom ? place : new char[text.size() + 1];
  Store(*node.value, buffer, text);
  if (old != place) delete[] old;
}

template <>
void LRBTree<LStringLongKey, String>::FreeNode(Node* node) {
  Entry& entry = EntryOf(*node);
  char* const value = node->value->Buffer();
  if (value != ValuePlace(entry)) delete[] value;
  ::operator delete(&entry);
}

template class LRBTree<LStringLongKey, String>;
