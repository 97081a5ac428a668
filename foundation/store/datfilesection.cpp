// SPDX-License-Identifier: MIT
// One section of a cached dat file: the chain of its items and the index beside it.
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "foundation/store/datfilenative.h"

static_assert(std::is_trivially_destructible_v<LDatFileNativeItem>);
static_assert(offsetof(LDatFileNativeItem, name_) == sizeof(void*));
static_assert(offsetof(LDatFileNativeItem, value_) == sizeof(void*) + kDatFileText);
static_assert(sizeof(LDatFileNativeItem) == sizeof(void*) + 2 * kDatFileText);

namespace {

void CopyText(char* dest, const char* text, std::size_t length) {
  std::memcpy(dest, text, length);
  dest[length] = 0;
}

std::uint32_t HashOf(const char* name) {
  return gDatFileNameHash.Of(name, strnlen(name, kDatFileLongestName));
}

}  // namespace

std::size_t LDatFileNativeItem::NameLength() const {
  return std::strlen(name_);
}

LDatFileNativeSection::LDatFileNativeSection(const char* name, std::size_t length) {
  CopyText(name_, name, length);
}

std::size_t LDatFileNativeSection::NameLength() const {
  return std::strlen(name_);
}

const char* LDatFileNativeSection::Find(const char* name) {
  const LDatFileNativeItem* const item = index_.Find(items_, name, HashOf(name));
  return item ? item->value_ : nullptr;
}

void LDatFileNativeSection::Set(DatFileItemPool& pool, const char* name, std::size_t nameLength,
                                const char* value, std::size_t valueLength) {
  const std::uint32_t hash = gDatFileNameHash.Of(name, nameLength);
  LDatFileNativeItem* item = index_.Find(items_, name, hash);
  if (!item) {
    index_.ReserveOne();
    item = pool.Take();
    CopyText(item->name_, name, nameLength);
    item->next_ = nullptr;
    *end_ = item;
    end_ = &item->next_;
    index_.Add(item, hash);
  }
  CopyText(item->value_, value, valueLength);
}

void LDatFileNativeSection::Remove(DatFileItemPool& pool, const char* name) {
  const std::uint32_t hash = HashOf(name);
  LDatFileNativeItem* const item = index_.Find(items_, name, hash);
  if (!item) return;
  index_.Remove(item, hash);
  LDatFileNativeItem** link = &items_;
  while (*link != item)
    link = &(*link)->next_;
  *link = item->next_;
  if (end_ == &item->next_) end_ = link;
  pool.Give(item, item);
}

void LDatFileNativeSection::RemoveAll(DatFileItemPool& pool) {
  if (!items_) return;
  LDatFileNativeItem* last = items_;
  while (last->next_)
    last = last->next_;
  pool.Give(items_, last);
  items_ = nullptr;
  end_ = &items_;
  index_ = {};
}
